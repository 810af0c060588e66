#include "quillmoor/platform/applications.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/desktop/application_search_linux.h"
#include "quillmoor/platform/linux/desktop/opener_linux.h"
#include "quillmoor/platform/linux/desktop/registration_linux.h"
#include "quillmoor/platform/linux/ground/ascii_linux.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace {

// The extensions of folders that users see as one item.
constexpr std::string_view kPackages[] = {"app",      "bundle", "plugin", "kext",
                                          "prefPane", "pkg",    "mpkg",   "rtfd"};

class LinuxApplications : public Applications {
  public:
    OptionalPath absolutePathForAppBundle(const std::string& identifier) override {
        return linux_::findApplication(linux_::applicationFolders(), identifier);
    }

    bool openFile(const std::string& path) override { return linux_::openFile(path); }

    std::int32_t registerApplication(const std::string& path) override {
        return linux_::registerApplication(path);
    }

    // File managers watch the folders that they show.
    void noteFileSystemChanged(const std::string&) override {}

    bool isFilePackage(const std::string& path) override {
        const std::string extension = pathExtension(path);
        const auto isExtension = [&](std::string_view package) {
            return linux_::equalsIgnoringCase(extension, package);
        };
        // A file with such an extension is not a package, so the disk is asked last.
        return std::any_of(std::begin(kPackages), std::end(kPackages), isExtension) &&
               current().fileManager->isDirectory(path);
    }
};

}  // namespace

Applications* nativeApplications() {
    static auto* const applications = new LinuxApplications;
    return applications;
}

}  // namespace quillmoor::platform
