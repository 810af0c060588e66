#include "quillmoor/platform/linux/locations/user_dirs_linux.h"

#include <algorithm>
#include <optional>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/ground/assignments_linux.h"

namespace quillmoor::platform::linux_ {
namespace {

// The path's components joined without doubled or trailing slashes.
std::string tidied(const StringList& components) {
    std::string path;
    for (const std::string& each : components) {
        if (each != "/") path.append("/").append(each);
    }
    return path.empty() ? "/" : path;
}

}  // namespace

OptionalPath userDir(std::string_view settings, std::string_view kind, const std::string& home) {
    OptionalString value = assignedValue(settings, std::string("XDG_").append(kind).append("_DIR"));
    if (!value || value->find('\0') != std::string::npos) return std::nullopt;
    // The one form of a value besides an absolute path; the file is for shells, but no other
    // variable is permitted in it.
    constexpr std::string_view kHome = "$HOME";
    if (*value == kHome || value->starts_with("$HOME/")) value->replace(0, kHome.size(), home);
    if (!value->starts_with('/')) return std::nullopt;

    const StringList components = pathComponents(*value);
    const StringList homeComponents = pathComponents(home);
    // The comparison with the home is by components, which these two would defeat.
    const auto climbs = [](const std::string& each) { return each == "." || each == ".."; };
    if (std::any_of(components.begin(), components.end(), climbs)) return std::nullopt;
    const bool holdsHome = components.size() <= homeComponents.size() &&
                           std::equal(components.begin(), components.end(), homeComponents.begin());
    if (holdsHome) return std::nullopt;
    return tidied(components);
}

}  // namespace quillmoor::platform::linux_
