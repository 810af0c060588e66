#include "platform/workspace.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "base/paths.h"
#include "platform/linux/applications_linux.h"
#include "platform/linux/ascii_linux.h"
#include "platform/linux/opener_linux.h"
#include "platform/linux/tool_path_linux.h"
#include "platform/linux/trash_linux.h"
#include "platform/native_services.h"

namespace quillmoor::platform {
namespace {

constexpr std::string_view kPackages[] = {"app",      "bundle", "plugin", "kext",
                                          "prefPane", "pkg",    "mpkg",   "rtfd"};

class LinuxWorkspace : public Workspace {
  public:
    OptionalPath absolutePathForAppBundle(const std::string& identifier) override {
        return linux_::findApplication(linux_::applicationFolders(), identifier);
    }

    bool openFile(const std::string& path) override { return linux_::openFile(path); }

    bool recycle(const std::string& source, const OptionalPath& destination,
                 const StringList& names) override {
        return linux_::recycleToTrash(source, destination, names);
    }

    bool isFilePackage(const std::string& path) override {
        const std::string extension = pathExtension(path);
        const auto isExtension = [&](std::string_view package) {
            return linux_::equalsIgnoringCase(extension, package);
        };
        return std::any_of(std::begin(kPackages), std::end(kPackages), isExtension) &&
               current().fileManager->isDirectory(path);
    }

    std::string toolPath(const std::string& path) override { return linux_::toolPath(path); }
};

}  // namespace

Workspace* nativeWorkspace() {
    static auto* const workspace = new LinuxWorkspace;
    return workspace;
}

}  // namespace quillmoor::platform
