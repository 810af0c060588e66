// Folders reached from a folder that is open, never through a link and never out of it.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::ditto {

using platform::posix::Descriptor;

// The folder that `path`, which a user gave, stands in; "." for a name alone.
std::string parentPathOf(std::string_view path);

// As platform::posix::openFolderBeneath, but throws Failure for an error.
Descriptor openFolderBeneath(int root, std::string_view path);

// What an open folder holds, in no order. Throws Failure, with the name, where that cannot be
// listed.
std::vector<std::string> namesIn(int folder, std::string_view name);

// What distinguishes a file or folder from all others. `name` is for the Failure.
using Identity = std::pair<dev_t, ino_t>;
Identity identityOf(int item, std::string_view name = ".");

// `name` in `folder` is the open item, and not something else that was put in its place. False for
// a link. Throws Failure where that cannot be seen.
bool isItem(int folder, const std::string& name, int item);

// Keeps the folder open that was asked for last, as neighbours mostly follow each other.
class FolderCache {
  public:
    explicit FolderCache(int root) : root_(root) {}

    // Open until the next call.
    int open(std::string_view path);

  private:
    int root_;
    std::string path_;
    Descriptor folder_;
};

// Throws Failure where that cannot be seen.
bool isEmpty(int folder);

// Removes all that stands in the folder, whatever its rights and depth, without following links.
// Throws Failure for the first item that cannot be removed, and where a folder inside is moved out
// meanwhile. Opens so many descriptors at a time, however deep the tree is.
inline constexpr std::size_t kDescriptorsToRemove = 2;
void removeContents(int folder);

}  // namespace quillmoor::ditto
