// How large trees are.
#pragma once

#include <cstdint>
#include <string>
#include <thread>

#include "platform/file_tree.h"

namespace quillmoor::platform::posix {

// As FileTree::size and FileTree::count.
std::uint64_t treeSize(const std::string& path, const std::stop_token& stop);
TreeCount treeCount(const std::string& path, const std::stop_token& stop);

}  // namespace quillmoor::platform::posix
