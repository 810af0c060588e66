// Files in a folder of the test's own, for tests whose suites are named for their class. What would
// run with administrator rights is recorded and not run, and rights are held.
#pragma once

#import "objc/KXFileManager.h"
#include "tests/files/files_fixture.h"
#include "tests/objc/objc_support.h"

namespace quillmoor::test {

class NotedApplications : public ForwardingApplications {
  public:
    StringList registered;
    StringList noted;
    std::int32_t registerApplication(const std::string& path) override {
        registered.push_back(path);
        return path.ends_with(".app") ? 0 : -1;
    }
    void noteFileSystemChanged(const std::string& path) override { noted.push_back(path); }
};

// Finder information that is kept in memory, since not every file system can.
class KeptFinderInfo : public ForwardingFinderInfo {
  public:
    platform::CatalogInfo info;
    StringList updated;
    std::int32_t catalogInfo(const platform::FileReference&,
                             platform::CatalogInfo& result) override {
        result = info;
        return 0;
    }
    std::int32_t setFinderInfo(const platform::FileReference&,
                               const platform::CatalogInfo& given) override {
        info = given;
        return 0;
    }
    std::int32_t sendUpdateEvent(const platform::FileReference& reference) override {
        updated.emplace_back(reference.path.data());
        return 0;
    }
};

class LockedAttributes : public ForwardingAttributes {
  public:
    bool isLocked = true;
    std::optional<platform::ItemAttributes> attributesOfItem(const std::string& path) override {
        auto attributes = ForwardingAttributes::attributesOfItem(path);
        if (attributes) attributes->isImmutable = isLocked;
        return attributes;
    }
};

// Every tool is a program that exists, so that starting it is recorded.
class ExistingTools : public ForwardingToolPaths {
  public:
    std::string toolPath(const std::string&) override { return "/bin/true"; }
};

struct FilesWorld : FilesTest {
    using AuthTest::authorization_;
    using AuthTest::authorized;
    using AuthTest::console_;
    using AuthTest::folder_;
    using AuthTest::platform_;
    using AuthTest::tasks_;
    using FilesTest::changes;
    using FilesTest::desktop_;
    using FilesTest::logged;
    using FilesTest::manager_;
    using FilesTest::noteChanges;
    using FilesTest::startLog;
    using FilesTest::trash;

    FilesWorld() {
        authorized();
        platform_->applications = &applications_;
        platform_->finderInfo = &finder_;
        startLog();
    }
    ~FilesWorld() override { KXLog::finishWriting(); }

    // From now on the process's own user may change nothing.
    void refuse() { manager_.refuses = desktop_.refusesToRecycle = true; }
    StringList started() const { return authorization_.started(); }

    NSString* file(const std::string& name, const std::string& text = "text") const {
        return string(folder_.writeFile(name, text));
    }
    NSString* folder(const std::string& name) const { return string(folder_.makeFolder(name)); }
    NSString* path(const std::string& name) const { return string(folder_ / name); }
    std::string at(const std::string& name) const { return folder_ / name; }
    bool exists(const std::string& name) const { return somethingAt(folder_ / name); }

    NotedApplications applications_;
    KeptFinderInfo finder_;
    ExistingTools tools_;

  private:
    void TestBody() override {}
};

}  // namespace quillmoor::test
