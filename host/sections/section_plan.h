// Which sections there are and in what order, before any of them is loaded.
#pragma once

#include <string>
#include <vector>

namespace quillmoor::host {

struct PlannedSection {
    enum class Kind {
        Introduction,  // the host's own
        Summary,       // the host's own
        Bundle,        // `subject` is the bundle's path
        Problem        // `subject` cannot become a section, `reason` says why
    };
    Kind kind;
    std::string subject;
    std::string reason;

    bool operator==(const PlannedSection&) const = default;
};

// Introduction, the bundles in this order, Summary.
std::vector<PlannedSection> planForBundles(const std::vector<std::string>& bundles);

// The order that the array SectionOrder in `folder`/InstallerSections.plist gives: names of the
// installer's own sections and of bundles in the folder. Own sections that this host does not offer
// are left out. Summary ends the plan if the order does not place it.
std::vector<PlannedSection> planForFolder(const std::string& folder);

}  // namespace quillmoor::host
