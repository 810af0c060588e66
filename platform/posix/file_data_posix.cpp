#include "platform/posix/file_data_posix.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>

#include "platform/posix/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// Large reads and writes beat the kernel's own copying calls, which go page by page.
constexpr std::size_t kBufferSize = std::size_t{1} << 20;

// What st_blocks counts.
constexpr off_t kBlock = 512;

ssize_t readSome(int file, char* buffer, std::size_t size) {
    for (;;) {
        const ssize_t count = systemCalls().read(file, buffer, size);
        if (count >= 0 || errno != EINTR) return count;
    }
}

}  // namespace

int writeAll(int file, const char* bytes, std::size_t size) {
    while (size > 0) {
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

int closeChecked(Descriptor& file) {
    return ::close(file.release()) == 0 || errno == EINTR ? 0 : errno;
}

int DataCopier::copy(int from, int to, const struct stat& status) {
    if (status.st_size > 0 && mayClone_) {
        if (systemCalls().cloneFile(from, to) == 0) return 0;
        mayClone_ = false;
    }
    const bool hasHoles = status.st_blocks < status.st_size / kBlock;
    return hasHoles ? copyRegions(from, to, status.st_size) : copyToEnd(from, to);
}

char* DataCopier::buffer() {
    if (buffer_ == nullptr) buffer_.reset(new char[kBufferSize]);
    return buffer_.get();
}

// Region by region, data alone.
int DataCopier::copyRegions(int from, int to, off_t size) {
    const SystemCalls& calls = systemCalls();
    off_t at = 0;
    while (at < size) {
        const off_t data = calls.lseek(from, at, SEEK_DATA);
        if (data < 0 && errno == ENXIO) break;  // a hole up to the end
        if (data < 0 && at == 0) return copyToEnd(from, to);
        if (data < 0) return errno;
        off_t hole = calls.lseek(from, data, SEEK_HOLE);
        if (hole < 0) return errno;
        if (calls.lseek(from, data, SEEK_SET) < 0 || calls.lseek(to, data, SEEK_SET) < 0)
            return errno;
        const int error = copyNext(from, to, hole - data);
        if (error != 0) return error;
        at = hole;
    }
    // The hole at the end.
    return calls.ftruncate(to, std::max(at, size)) == 0 ? 0 : errno;
}

int DataCopier::copyNext(int from, int to, off_t length) {
    while (length > 0) {
        const auto wanted =
            static_cast<std::size_t>(std::min<off_t>(length, static_cast<off_t>(kBufferSize)));
        const ssize_t count = readSome(from, buffer(), wanted);
        if (count < 0) return errno;
        if (count == 0) return 0;  // the file has been cut meanwhile
        const int error = writeAll(to, buffer(), static_cast<std::size_t>(count));
        if (error != 0) return error;
        length -= count;
    }
    return 0;
}

int DataCopier::copyToEnd(int from, int to) {
    for (;;) {
        const ssize_t count = readSome(from, buffer(), kBufferSize);
        if (count <= 0) return count == 0 ? 0 : errno;
        const int error = writeAll(to, buffer(), static_cast<std::size_t>(count));
        if (error != 0) return error;
    }
}

}  // namespace quillmoor::platform::posix
