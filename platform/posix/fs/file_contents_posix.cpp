#include "quillmoor/platform/posix/fs/file_contents_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <string_view>

#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/fs/read_ahead_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// Large reads and writes are faster than the kernel's own copying calls, which copy page by page.
constexpr off_t kBufferSize = off_t{512} << 10;

// The unit of st_blocks.
constexpr off_t kBlock = 512;

constexpr off_t kUnknownLength = std::numeric_limits<off_t>::max();

// True when reading ahead is worth a thread.
bool isLong(off_t length) {
    constexpr off_t kLong = off_t{16} << 20;
    return length >= kLong && length != kUnknownLength;
}

}  // namespace

int FileDataCopier::copy(int from, int to, const struct stat& status) {
    const off_t size = status.st_size;
    // Also true for a file that its file system stores compressed: it then turns out to have one
    // region.
    const bool hasHoles = status.st_blocks < size / kBlock;
    return hasHoles ? copyRegions(from, to, size) : copyWhole(from, to, size);
}

char* FileDataCopier::buffer() {
    if (buffer_ == nullptr) buffer_.reset(new char[static_cast<std::size_t>(kBufferSize)]);
    return buffer_.get();
}

// A hole is progress without a write.
void FileDataCopier::skip(off_t length) const {
    control_.add(static_cast<std::uint64_t>(length), 0);
}

// Copies the regions that have data, and no holes.
int FileDataCopier::copyRegions(int from, int to, off_t size) {
    const SystemCalls& calls = systemCalls();
    off_t at = 0;
    while (at < size) {
        const off_t data = calls.lseek(from, at, SEEK_DATA);
        if (data < 0 && errno == ENXIO) break;  // a hole up to the end
        // The file system cannot find holes.
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
    // The hole at the end, unless the file has become shorter meanwhile.
    const off_t end = std::min(size, calls.lseek(from, 0, SEEK_END));
    if (end < 0) return errno;
    if (at < end) skip(end - at);
    return calls.ftruncate(to, end) == 0 ? 0 : errno;
}

// As many bytes as the file had at the start: a file that grows as fast as it is copied would never
// end. Fewer when it has become shorter; files of /proc report the size 0 and are read to their
// end.
int FileDataCopier::copyWhole(int from, int to, off_t size) {
    if (size > kBufferSize) systemCalls().reserveSpace(to, size);
    off_t copied = 0;
    const int error = copyNext(from, to, size > 0 ? size : kUnknownLength, copied);
    if (error != 0 || copied >= size) return error;
    // The file became shorter while it was copied: releases what was reserved behind its end.
    return systemCalls().ftruncate(to, copied) == 0 ? 0 : errno;
}

// Copies `length` bytes, or fewer where the file ends, and adds their number to `copied`.
int FileDataCopier::copyNext(int from, int to, off_t length, off_t& copied) {
    if (isLong(length)) {
        ReadAhead ahead(from, length);
        if (ahead.started())
            return writePieces(to, copied, [&ahead](auto& piece) { return ahead.next(piece); });
    }
    return writePieces(to, copied, [&](std::string_view& piece) {
        const auto wanted = static_cast<std::size_t>(std::min(length, kBufferSize));
        const ssize_t count = wanted > 0 ? readSome(from, buffer(), wanted) : 0;
        if (count < 0) return errno;
        piece = {buffer(), static_cast<std::size_t>(count)};
        length -= count;
        return 0;
    });
}

// `next` sets the next piece, an empty one at the end, and returns 0 or the error number.
template <typename Next>
int FileDataCopier::writePieces(int to, off_t& copied, const Next& next) {
    for (;;) {
        if (control_.stop.isStopRequested()) return ECANCELED;
        std::string_view piece;
        if (const int error = next(piece); error != 0) return error;
        if (piece.empty()) return 0;
        if (const int error = writeAll(to, piece.data(), piece.size()); error != 0) return error;
        control_.add(piece.size(), 0);
        copied += static_cast<off_t>(piece.size());
    }
}

}  // namespace quillmoor::platform::posix
