// The product in a home of its own, with a Trash that records what is moved to it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "quillmoor/base/format.h"
#include "tests/auth/fake_authorization.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::tallyframe {

// Finds the application of one identifier.
class FakeApplications : public test::ForwardingApplications {
  public:
    OptionalPath absolutePathForAppBundle(const std::string& identifier) override {
        return identifier == "com.quillmoor.tallyframe" ? application : std::nullopt;
    }

    OptionalPath application;
};

// Records what is recycled; an item named `refused` is not moved.
class FakeTrash : public test::ForwardingTrash {
  public:
    platform::RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                                     const StringList& names) override {
        beforeEach();
        const std::string& name = names.front();
        recycled.push_back(formatted("%@|%@|%@", source, name, destination));
        if (name == refused) return {};
        std::filesystem::create_directories(*destination);
        std::filesystem::rename(source + "/" + name, *destination + "/" + name);
        return {true, {}};
    }

    std::string refused;
    StringList recycled;
    std::function<void()> beforeEach = [] {};
};

class FakeLocations : public test::ForwardingLocations {
  public:
    explicit FakeLocations(std::string home) : home_(std::move(home)) {}
    StringList searchPaths(platform::SearchPathDirectory directory,
                           platform::SearchPathDomainMask) override {
        const std::string library = home_ + "/Library";
        return {directory == platform::SearchPathDirectory::ApplicationSupport
                    ? library + "/Application Support"
                    : library};
    }
    std::string homeDirectory() override { return home_; }
    OptionalPath homeDirectoryForUser(const OptionalString&) override { return home_; }

  private:
    std::string home_;
};

// The home of an ordinary user, even if root runs the test.
class FakeProcessInfo : public test::ForwardingProcessInfo {
  public:
    unsigned realUserId() override { return 501; }
};

class InstalledTallyframe : public ::testing::Test {
  protected:
    InstalledTallyframe() {
        system_->applications = &applications_;
        system_->trash = &trash_;
        system_->locations = &locations_;
        system_->processInfo = &processInfo_;
        system_->authorization = &authorization_;
        authorization_.rightsStatus = platform::kAuthorizationDenied;
    }

    std::string makeSupportFolder() const {
        return home_.makeFolder("Library/Application Support/Tallyframe");
    }

    test::TempFolder home_;
    FakeApplications applications_;
    FakeTrash trash_;
    FakeLocations locations_{home_.path()};
    FakeProcessInfo processInfo_;
    test::FakeAuthorization authorization_;
    test::ScopedPlatform system_;
};

}  // namespace quillmoor::tallyframe
