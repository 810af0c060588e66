#include "quillmoor/platform/posix/fs/file_io_posix.h"

#include <errno.h>
#include <unistd.h>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {

ssize_t readSome(int file, char* bytes, std::size_t size) {
    for (;;) {
        const ssize_t count = systemCalls().read(file, bytes, size);
        if (count >= 0 || errno != EINTR) return count;
    }
}

int writeAll(int file, const char* bytes, std::size_t size) {
    while (size > 0) {
        // It may write a part only, for example before a disk is full: the next call reports the
        // error.
        const ssize_t written = systemCalls().write(file, bytes, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

// EINTR is not reported: the descriptor is closed, and a second close could close another one.
int closeChecked(Descriptor& file) {
    return systemCalls().close(file.release()) == 0 || errno == EINTR ? 0 : errno;
}

}  // namespace quillmoor::platform::posix
