// Copies of single items.
#pragma once

#include <sys/stat.h>

#include <string>

#include "quillmoor/platform/posix/fs/tree_data_posix.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Copies item after item; one thread at a time. The new item's name must be free: EEXIST. Functions
// answer 0 or the error number; what has been made then stays, and somethingMade() tells of it.
class ItemCopier {
  public:
    explicit ItemCopier(const CopyControl& control) : control_(control), data_(control) {}

    // Regular files, links as links, and FIFOs; sockets and devices are EOPNOTSUPP. `type` holds
    // the type bits of a status. An item that is another one by now is ELOOP or ESTALE.
    int copy(int folder, const char* name, mode_t type, int newFolder, const char* newName);

    bool somethingMade() const { return somethingMade_; }

  private:
    int copyFile(int folder, const char* name, int newFolder, const char* newName);
    int createFile(int original, const struct stat& status, int newFolder, const char* newName,
                   Descriptor& made, bool& cloned);
    int copyLink(int folder, const char* name, int newFolder, const char* newName);
    int copyFifo(int folder, const char* name, int newFolder, const char* newName);

    const CopyControl& control_;
    FileDataCopier data_;
    bool mayClone_ = true;  // until the file system reports that it cannot
    bool somethingMade_ = false;
};

// Gives the open item `made` what `original` has, whose status is `status`: the owner where that is
// permitted, the extended attributes, the mode and the dates, in this order. The setuid and setgid
// bits go only with the owner and the group. What a file system cannot keep is passed over. Without
// an `original` (-1) there are no extended attributes.
int copyAttributes(int original, int made, const struct stat& status);

}  // namespace quillmoor::platform::posix
