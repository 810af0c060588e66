// A folder's entries, one after the other.
#pragma once

#include <dirent.h>

#include <memory>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// One thread at a time.
class DirectoryReader {
  public:
    // Takes over a folder that is open for reading. error() tells whether that went well.
    explicit DirectoryReader(Descriptor folder);

    // The next entry, . and .. left out; null at the end and after an error. It is valid until the
    // next call.
    const dirent* next();

    // From the first entry again.
    void rewind();

    // 0, or the number of the error that ended the reading.
    int error() const { return error_; }

    // The folder itself; it belongs to the reader.
    int folder() const { return folder_; }

  private:
    struct Closer {
        void operator()(DIR* stream) const { ::closedir(stream); }
    };
    std::unique_ptr<DIR, Closer> stream_;
    int folder_ = -1;
    int error_ = 0;
};

// The type bits that a status would have; 0 when the file system does not tell them here.
mode_t typeOf(const dirent& entry);

}  // namespace quillmoor::platform::posix
