#include "tools/version-check/product_state.h"

#include <compare>

#include "quillmoor/base/paths.h"
#include "quillmoor/pane/installed_product.h"
#include "quillmoor/platform/platform.h"
#include "tools/version-check/version_number.h"

namespace quillmoor::version_check {
namespace {

std::string trimmed(const std::string& text) {
    constexpr char kSpace[] = " \t\n\v\f\r";
    const std::size_t begin = text.find_first_not_of(kSpace);
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

OptionalString versionOf(const std::string& application) {
    const auto info = platform::current().propertyLists->dictionaryWithContentsOfFile(
        *appendPathComponent(application, "Contents/Info.plist"));
    if (!info) return std::nullopt;
    for (const char* key : {"CFBundleShortVersionString", "CFBundleVersion"}) {
        const auto found = info->find(key);
        if (found == info->end()) continue;
        const std::string version = trimmed(found->second.text().value_or(""));
        if (!version.empty()) return version;
    }
    return std::nullopt;
}

State compared(const OptionalString& version, const OptionalString& with) {
    if (!with || !version || !isVersionNumber(*version)) return State::Installed;
    const auto order = compareVersions(*version, *with);
    if (std::is_lt(order)) return State::Older;
    return std::is_gt(order) ? State::Newer : State::Same;
}

}  // namespace

Product findProduct(const OptionalString& comparedWith) {
    const OptionalPath path = installedProduct();
    if (!path) return {};
    const OptionalString version = versionOf(*path);
    return {compared(version, comparedWith), path, version};
}

}  // namespace quillmoor::version_check
