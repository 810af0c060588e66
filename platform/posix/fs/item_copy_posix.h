// Copies of single items.
#pragma once

#include <sys/stat.h>

#include <string>

#include "quillmoor/platform/posix/fs/file_contents_posix.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Copies one item after another; used by one thread at a time. The new item's name must be free:
// EEXIST. Functions return 0 or the error number. After an error a partial item may exist; then
// somethingMade() is true and the caller removes it.
class ItemCopier {
  public:
    explicit ItemCopier(const CopyControl& control) : control_(control), data_(control) {}

    // Copies regular files, links as links, and FIFOs; sockets and devices are EOPNOTSUPP. `type`
    // has the type bits of the item's mode; an item of another type by now is ELOOP or ESTALE.
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

// Gives the open item `made` the attributes of `original`, whose status is `status`: the owner
// where that is permitted, the extended attributes, the mode and the dates, in this order. The
// setuid and setgid bits are kept only together with owner and group. Attributes that the file
// system does not support are skipped. Without an `original` (-1) no extended attributes are
// copied.
int copyAttributes(int original, int made, const struct stat& status);

}  // namespace quillmoor::platform::posix
