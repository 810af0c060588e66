// The computer in which file operations meet faults: a home, a Trash and a session of the run's
// own. The log keeps its messages in memory, so that its worker makes no calls meanwhile.
#pragma once

#include <string>
#include <string_view>

#include "tests/faults/kept_log.h"
#include "tests/files/files_fixture.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::test {

class WorldLocations : public AuthLocations {
  public:
    std::string temporary;
    std::string temporaryDirectory() override { return temporary; }
};

class FilesWorld : public FilesTest {
  public:
    FilesWorld() {
        worldLocations_.home = worldLocations_.ownHome = locations_.home;
        worldLocations_.temporary = folder_.makeFolder("tmp");
        platform_->locations = &worldLocations_;
        platform_->fileManager = platform::native().fileManager;
    }
    void TestBody() override {}

    const TempFolder& folder() const { return folder_; }
    ScopedPlatform& platform() { return platform_; }
    std::string trash() const { return FilesTest::trash(); }

    // True when the operation has used the session: its result then means that a tool was started.
    bool usedAuthorization() const {
        return !authorization_.started().empty() || !tasks_.launched.empty();
    }

    bool hasLogged(std::string_view text) { return log_.has(text); }

  private:
    WorldLocations worldLocations_;
    KeptLog log_;
};

}  // namespace quillmoor::test
