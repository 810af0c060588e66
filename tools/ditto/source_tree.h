// Lists what is to be packed, before any content is read.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "tools/ditto/folder_access.h"

namespace quillmoor::ditto {

struct SourceItem {
    enum class Kind { File, Folder, Link };
    std::string path;  // below the tree's root
    Kind kind;
};

// The name of an archive in its folder. The archive itself need not exist.
struct ArchiveLocation {
    dev_t device = 0;
    ino_t folder = 0;
    std::string name;
};

// A folder with everything below it, or a single file or link. Links are items and are not
// followed, except for the source itself. Sorted by name within each folder.
class SourceTree {
  public:
    // The item at `archive` is left out, as the archive will replace it. Throws Failure for what
    // cannot be listed, for what is neither a file nor a folder nor a link, and for a file that
    // would be packed into itself.
    SourceTree(const std::string& source, ArchiveLocation archive);

    int root() const { return root_.get(); }
    const std::vector<SourceItem>& items() const { return items_; }
    bool isFolder() const { return isFolder_; }
    // The source's own name; "" for the root of the file system.
    const std::string& name() const { return name_; }

  private:
    void list(const std::string& folder);
    std::vector<SourceItem> itemsIn(const std::string& path) const;
    bool isArchivesFolder(int folder) const;

    Descriptor root_;
    std::string name_;
    bool isFolder_ = false;
    ArchiveLocation archive_;
    std::vector<SourceItem> items_;
};

}  // namespace quillmoor::ditto
