// The sections and their order, before any of them is loaded.
#pragma once

#include <string>
#include <vector>

namespace quillmoor::host {

struct PlannedSection {
    enum class Kind {
        Introduction,  // the host's own
        Summary,       // the host's own
        Bundle,        // `subject` is the bundle's path
        Problem        // `subject` cannot become a section, for `reason`
    };
    Kind kind;
    std::string subject;
    std::string reason;

    bool operator==(const PlannedSection&) const = default;
};

// Returns Introduction, the bundles in this order, Summary.
std::vector<PlannedSection> planForBundles(const std::vector<std::string>& bundles);

// Returns the order of the array SectionOrder in `folder`/InstallerSections.plist, which contains
// names of the installer's own sections and of bundles in the folder. Own sections that this host
// does not have are left out. Summary is added at the end if the order does not contain it.
std::vector<PlannedSection> planForFolder(const std::string& folder);

}  // namespace quillmoor::host
