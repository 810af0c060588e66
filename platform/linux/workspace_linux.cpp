#include "quillmoor/platform/workspace.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/desktop/applications_linux.h"
#include "quillmoor/platform/linux/desktop/opener_linux.h"
#include "quillmoor/platform/linux/desktop/registration_linux.h"
#include "quillmoor/platform/linux/desktop/tool_path_linux.h"
#include "quillmoor/platform/linux/ground/ascii_linux.h"
#include "quillmoor/platform/linux/trash/trash_linux.h"
#include "quillmoor/platform/native_services.h"

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

    RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                           const StringList& names) override {
        return linux_::recycleToTrash(source, destination, names);
    }

    bool prepareTrash(const std::string& destination) override {
        return linux_::prepareTrash(destination);
    }

    bool announceTrash(const std::string& destination, const std::string& name,
                       const std::string& item) override {
        return linux_::announceTrash(destination, name, item);
    }

    void abandonTrash(const std::string& destination, const std::string& name) override {
        linux_::abandonTrash(destination, name);
    }

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
