#include "quillmoor/platform/linux/desktop/tool_path_linux.h"

#include <memory>
#include <optional>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/bundles/bundle_linux.h"
#include "quillmoor/platform/linux/ground/programs_linux.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform::linux_ {
namespace {

constexpr char kDitto[] = "/usr/bin/ditto";
// Where the library was configured to be installed.
constexpr char kInstallation[] = KX_LIBEXECDIR "/";

}  // namespace

StringList ownTools(const std::string& name) {
    StringList places;
    // By the address of this code: inside a plug-in that is the plug-in's bundle, not the host's.
    const auto here = nativeBundles()->bundleForCode(reinterpret_cast<const void*>(&ownTools));
    const OptionalPath code = here != nullptr ? here->executablePath() : std::nullopt;
    const OptionalPath bundle = code ? bundleFolderOf(*code) : std::nullopt;
    if (bundle) places.push_back(*bundle + "/Contents/Linux/" + name);
    places.push_back(kInstallation + name);
    // For an installation that was moved to another prefix as a whole.
    if (const OptionalPath program = nativeBundles()->mainBundle()->executablePath()) {
        const std::string prefix = deleteLastPathComponent(deleteLastPathComponent(*program));
        places.push_back(*appendPathComponent(prefix, "libexec/quillmoor/" + name));
    }
    return places;
}

OptionalPath ownTool(const std::string& name) {
    for (const std::string& place : ownTools(name)) {
        if (OptionalPath tool = trustedProgram(place)) return tool;
    }
    return std::nullopt;
}

OptionalPath installedTool(const std::string& name) {
    return trustedProgram(kInstallation + name);
}

std::string toolPath(const std::string& path) {
    // The one tool of the fixed paths that this project brings; one of the system is preferred.
    if (path != kDitto || isProgram(path)) return path;
    return ownTool(lastPathComponent(path)).value_or(path);
}

}  // namespace quillmoor::platform::linux_

namespace quillmoor::platform {
namespace {

class LinuxToolPaths : public ToolPaths {
  public:
    std::string toolPath(const std::string& path) override { return linux_::toolPath(path); }
};

}  // namespace

ToolPaths* nativeToolPaths() {
    static auto* const paths = new LinuxToolPaths;
    return paths;
}

}  // namespace quillmoor::platform
