#include "platform/posix/tree_data_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "platform/posix/file_data_posix.h"
#include "platform/posix/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// Large reads and writes beat the kernel's own copying calls, which go page by page.
constexpr off_t kBufferSize = off_t{1} << 20;

// What st_blocks counts.
constexpr off_t kBlock = 512;

ssize_t readSome(int file, char* buffer, std::size_t size) {
    for (;;) {
        const ssize_t count = systemCalls().read(file, buffer, size);
        if (count >= 0 || errno != EINTR) return count;
    }
}

// Room for a large file in one piece, where the file system can; the size stays as it is. Nothing
// depends on it.
void reserve([[maybe_unused]] int file, [[maybe_unused]] off_t size) {
#ifdef __linux__
    if (size > kBufferSize) ::fallocate(file, FALLOC_FL_KEEP_SIZE, 0, size);
#endif
}

}  // namespace

int FileDataCopier::copy(int from, int to, const struct stat& status) {
    const off_t size = status.st_size;
    if (size > 0 && mayClone_) {
        if (systemCalls().cloneFile(from, to) == 0) {
            skip(size);
            return 0;
        }
        mayClone_ = false;
    }
    const bool hasHoles = status.st_blocks < size / kBlock;
    return hasHoles ? copyRegions(from, to, size) : copyWhole(from, to, size);
}

char* FileDataCopier::buffer() {
    if (buffer_ == nullptr) buffer_.reset(new char[static_cast<std::size_t>(kBufferSize)]);
    return buffer_.get();
}

// Nothing needs to be written.
void FileDataCopier::skip(off_t length) const {
    control_.add(static_cast<std::uint64_t>(length), 0);
}

// Region by region, data alone.
int FileDataCopier::copyRegions(int from, int to, off_t size) {
    const SystemCalls& calls = systemCalls();
    off_t at = 0;
    while (at < size) {
        const off_t data = calls.lseek(from, at, SEEK_DATA);
        if (data < 0 && errno == ENXIO) break;  // a hole up to the end
        if (data < 0 && at == 0) return copyWhole(from, to, size);
        if (data < 0) return errno;
        const off_t hole = calls.lseek(from, data, SEEK_HOLE);
        if (hole < 0) return errno;
        if (calls.lseek(from, data, SEEK_SET) < 0 || calls.lseek(to, data, SEEK_SET) < 0)
            return errno;
        skip(data - at);
        off_t copied = 0;
        const int error = copyNext(from, to, hole - data, copied);
        if (error != 0) return error;
        at = hole;
    }
    if (at < size) skip(size - at);
    // The hole at the end.
    return calls.ftruncate(to, std::max(at, size)) == 0 ? 0 : errno;
}

// So much as it had at the start, unless it has been cut meanwhile or does not tell its size.
int FileDataCopier::copyWhole(int from, int to, off_t size) {
    reserve(to, size);
    off_t copied = 0;
    const off_t length = size > 0 ? size : std::numeric_limits<off_t>::max();
    const int error = copyNext(from, to, length, copied);
    if (error != 0 || copied >= size) return error;
    return systemCalls().ftruncate(to, copied) == 0 ? 0 : errno;
}

// So much, or less where the file ends; adds what has been copied to `copied`.
int FileDataCopier::copyNext(int from, int to, off_t length, off_t& copied) {
    while (length > 0) {
        if (control_.stop.stop_requested()) return ECANCELED;
        const auto wanted = static_cast<std::size_t>(std::min(length, kBufferSize));
        const ssize_t count = readSome(from, buffer(), wanted);
        if (count < 0) return errno;
        if (count == 0) return 0;
        const int error = writeAll(to, buffer(), static_cast<std::size_t>(count));
        if (error != 0) return error;
        control_.add(static_cast<std::uint64_t>(count), 0);
        length -= count;
        copied += count;
    }
    return 0;
}

}  // namespace quillmoor::platform::posix
