// Reading a folder's entries.
#pragma once

#include <dirent.h>

#include <memory>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Used by one thread at a time.
class DirectoryReader {
  public:
    // Takes ownership of a folder that is open for reading. Failures are reported by error().
    explicit DirectoryReader(Descriptor folder);

    // The next entry, . and .. left out; null at the end and after an error. It is valid until the
    // next call.
    const dirent* next();

    // Starts again at the first entry.
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

// The type bits of the entry's mode; 0 where the file system does not store them in the folder.
mode_t typeOf(const dirent& entry);

}  // namespace quillmoor::platform::posix
