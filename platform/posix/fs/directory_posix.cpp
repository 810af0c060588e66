#include "quillmoor/platform/posix/fs/directory_posix.h"

#include <errno.h>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

bool isDots(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

DirectoryReader::DirectoryReader(Descriptor folder) {
    stream_.reset(systemCalls().fdopendir(folder.get()));
    if (stream_ == nullptr)
        error_ = errno;
    else
        // Only after success: fdopendir(3) takes the descriptor over only then.
        folder_ = folder.release();
}

const dirent* DirectoryReader::next() {
    if (error_ != 0) return nullptr;
    for (;;) {
        errno = 0;  // only errno distinguishes an error from the end
        const dirent* entry = systemCalls().readdir(stream_.get());
        if (entry == nullptr) {
            error_ = errno;
            return nullptr;
        }
        if (!isDots(entry->d_name)) return entry;
    }
}

void DirectoryReader::rewind() {
    ::rewinddir(stream_.get());
}

mode_t typeOf(const dirent& entry) {
    // DT_UNKNOWN is 0, and so has no type bits.
    return static_cast<mode_t>(DTTOIF(entry.d_type));
}

}  // namespace quillmoor::platform::posix
