// Starts the toolkit for every test of the program, and keeps what the examples log in a folder of
// its own: root's log would be the machine's, where the library is installed.
#include <optional>

#include "quillmoor/log/KXLog.h"
#include "tests/support/forwarding.h"
#include "tests/support/off_screen_toolkit.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

class TemporaryLocations : public ForwardingLocations {
  public:
    StringList searchPaths(platform::SearchPathDirectory /*directory*/,
                           platform::SearchPathDomainMask /*domain*/) override {
        return {folder_.path()};
    }

  private:
    TempFolder folder_;
};

class Toolkit : public OffScreenToolkit {
  public:
    void SetUp() override {
        platform_.emplace();
        (*platform_)->locations = &locations_.emplace();
        OffScreenToolkit::SetUp();
    }
    void TearDown() override {
        OffScreenToolkit::TearDown();
        KXLog::finishWriting();
        platform_.reset();
        locations_.reset();
    }

  private:
    std::optional<TemporaryLocations> locations_;
    std::optional<ScopedPlatform> platform_;
};

[[maybe_unused]] const auto* const toolkit = ::testing::AddGlobalTestEnvironment(new Toolkit);

}  // namespace
}  // namespace quillmoor::test
