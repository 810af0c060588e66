#include "host/sections/section_plan.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "host/ground/display_text.h"
#include "host/ground/host_error.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::host {
namespace {

using Kind = PlannedSection::Kind;
namespace fs = std::filesystem;

constexpr std::string_view kOrderFile = "InstallerSections.plist";

// Sections of a complete installer; this host shows panes only and installs nothing.
constexpr std::array<std::string_view, 5> kNotOffered{"ReadMe", "License", "Target",
                                                      "PackageSelection", "Install"};

platform::PropertyListArray readOrder(const std::string& folder) {
    const std::string path = folder + "/" + std::string(kOrderFile);
    std::error_code error;
    if (!fs::exists(path, error)) throw HostError("it has no " + std::string(kOrderFile));
    const auto dictionary = platform::nativePropertyLists()->dictionaryWithContentsOfFile(path);
    if (!dictionary)
        throw HostError(std::string(kOrderFile) +
                        " is not a property list that holds a dictionary");
    const auto entry = dictionary->find("SectionOrder");
    const auto* order = entry == dictionary->end()
                            ? nullptr
                            : std::get_if<platform::PropertyListArray>(&entry->second.value);
    if (order == nullptr)
        throw HostError(std::string(kOrderFile) + " has no array for the key “SectionOrder”");
    return *order;
}

// A wrong entry becomes a section that shows the mistake: the others can still be used.
PlannedSection sectionFor(const std::string& folder, const platform::PropertyListValue& entry) {
    const auto* name = std::get_if<std::string>(&entry.value);
    if (name == nullptr)
        return {Kind::Problem, std::string(kOrderFile), "an entry of “SectionOrder” is not a text"};
    if (*name == "Introduction") return {Kind::Introduction, "", ""};
    if (*name == "Summary") return {Kind::Summary, "", ""};
    // The name must not lead out of the folder.
    if (name->find('/') != std::string::npos)
        return {Kind::Problem, *name, "a section must be a bundle inside the plug-ins’ folder"};
    if (pathExtension(*name) != "bundle")
        return {Kind::Problem, *name,
                "it is neither a bundle nor one of the installer’s own sections"};
    return {Kind::Bundle, folder + "/" + *name, ""};
}

bool isNotOffered(const platform::PropertyListValue& entry) {
    const auto* name = std::get_if<std::string>(&entry.value);
    return name != nullptr && std::ranges::find(kNotOffered, *name) != kNotOffered.end();
}

bool hasSummary(const std::vector<PlannedSection>& plan) {
    return std::ranges::any_of(plan, [](const auto& each) { return each.kind == Kind::Summary; });
}

}  // namespace

std::vector<PlannedSection> planForBundles(const std::vector<std::string>& bundles) {
    std::vector<PlannedSection> plan{{Kind::Introduction, "", ""}};
    for (const std::string& bundle : bundles) plan.push_back({Kind::Bundle, bundle, ""});
    plan.push_back({Kind::Summary, "", ""});
    return plan;
}

std::vector<PlannedSection> planForFolder(const std::string& folder) {
    std::vector<PlannedSection> plan;
    try {
        for (const auto& entry : readOrder(folder))
            if (!isNotOffered(entry)) plan.push_back(sectionFor(folder, entry));
    } catch (const HostError& error) {
        // The window is still shown, with the reason in it.
        plan = {{Kind::Introduction, "", ""}, {Kind::Problem, folder, error.what()}};
    }
    if (!hasSummary(plan)) plan.push_back({Kind::Summary, "", ""});
    return plan;
}

}  // namespace quillmoor::host
