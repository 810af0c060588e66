// Folders reached from a folder that is open, never through a link and never out of it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::ditto {

using platform::posix::Descriptor;
using platform::posix::Identity;

// The folder that `path`, which a user gave, stands in; "." for a name alone.
std::string parentPathOf(std::string_view path);

// As platform::posix::openFolderBeneath, but throws Failure for an error.
Descriptor openFolderBeneath(int root, std::string_view path);

// What an open folder holds, in no order. Throws Failure, with the name, where that cannot be
// listed.
std::vector<std::string> namesIn(int folder, std::string_view name);

// Which item is open. `name` is for the Failure.
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

}  // namespace quillmoor::ditto
