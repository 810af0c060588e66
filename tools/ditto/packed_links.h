// Checks the links of a tree that is packed by the rules of unpacking.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/ditto/source_tree.h"

namespace quillmoor::ditto {

// Returns why this tool cannot unpack an archive of the tree: the first link that leads out of the
// archive, with its reason, for example “name” is a link to an absolute path. "" if there is none.
// `prefix` is put before each item's path; `targets` are those of the tree's links, in its order.
std::string linkObjection(const SourceTree& tree, std::string_view prefix,
                          const std::vector<std::string>& targets);

}  // namespace quillmoor::ditto
