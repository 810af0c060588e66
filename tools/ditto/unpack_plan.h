// The items that the entries are unpacked to, in the order in which they are created.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "tools/ditto/entry_tree.h"

namespace quillmoor::ditto {

struct PlannedItem {
    std::string_view path;
    const Entry* entry;  // nullptr: a folder that is only implied by other names
};

struct UnpackPlan {
    std::vector<PlannedItem> folders;  // each after the one that holds it
    std::vector<PlannedItem> files;    // large ones first, then in the archives' order
    std::vector<PlannedItem> links;
    std::vector<std::string_view> topNames;  // the items of the destination itself
    std::size_t leftOut = 0;                 // AppleDouble entries
};

// The tree must have been validated. The plan points into it.
UnpackPlan makePlan(const EntryTree& tree);

}  // namespace quillmoor::ditto
