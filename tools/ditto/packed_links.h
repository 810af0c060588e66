// The links of a tree that is packed, as the tool's own unpacking will see them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/ditto/source_tree.h"

namespace quillmoor::ditto {

// Why an archive of the tree cannot be unpacked by this tool: the first link that leads out of the
// archive, with its reason, as in: “name” is a link to an absolute path. "" if there is none.
// `prefix` is put before each item's path; `targets` are those of the tree's links, in its order.
std::string linkObjection(const SourceTree& tree, std::string_view prefix,
                          const std::vector<std::string>& targets);

}  // namespace quillmoor::ditto
