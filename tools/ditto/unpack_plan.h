// What is to be made of the entries, in the order of making.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "tools/ditto/entry_tree.h"

namespace quillmoor::ditto {

struct PlannedItem {
    std::string_view path;
    const Entry* entry;  // nullptr: a folder that only other names imply
};

struct UnpackPlan {
    std::vector<PlannedItem> folders;  // each after the one that it stands in
    std::vector<PlannedItem> files;    // large ones first, then in the archives' order
    std::vector<PlannedItem> links;
    std::vector<std::string_view> topNames;  // what will stand in the destination itself
    std::size_t leftOut = 0;                 // AppleDouble entries
};

// Of a tree that has been judged. The plan points into the tree.
UnpackPlan makePlan(const EntryTree& tree);

}  // namespace quillmoor::ditto
