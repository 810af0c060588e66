// Measuring trees.
#pragma once

#include <cstdint>
#include <string>

#include "quillmoor/base/stop_token.h"
#include "quillmoor/platform/file_tree.h"

namespace quillmoor::platform::posix {

// As FileTree::size and FileTree::count.
std::uint64_t treeSize(const std::string& path, const StopToken& stop);
TreeCount treeCount(const std::string& path, const StopToken& stop);

}  // namespace quillmoor::platform::posix
