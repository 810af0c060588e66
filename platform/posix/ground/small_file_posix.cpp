#include "quillmoor/platform/posix/ground/small_file_posix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// `expected` is the size in the file's status. Reading stops one byte beyond the limit, so that a
// file that grows meanwhile is detected as well.
std::optional<std::string> readAtMost(const Descriptor& file, std::size_t expected,
                                      std::size_t limit) {
    // One byte more than expected: a file of that size is then read to its end without a larger
    // buffer. Files of /proc report the size 0 and make it grow.
    std::string contents(expected + 1, '\0');
    std::size_t size = 0;
    for (;;) {
        const ssize_t got =
            systemCalls().read(file.get(), contents.data() + size, contents.size() - size);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) break;
        size += static_cast<std::size_t>(got);
        if (size > limit) return std::nullopt;
        if (size == contents.size()) contents.resize(std::min(limit, 2 * size) + 1);
    }
    contents.resize(size);
    return contents;
}

// O_NONBLOCK for a FIFO without a writer, O_NOCTTY for a terminal, which would become this
// process's. The open file is checked, not the path: another user may replace the item in between.
std::optional<std::string> read(const std::string& path, std::size_t limit, int flags,
                                const std::optional<uid_t>& owner) {
    if (path.find('\0') != std::string::npos) return std::nullopt;
    const Descriptor file(
        systemCalls().openat(AT_FDCWD, path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | flags, 0));
    struct stat status {};
    if (!file || systemCalls().fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    if (owner && status.st_uid != *owner) return std::nullopt;
    const auto expected = static_cast<std::size_t>(status.st_size);
    return expected <= limit ? readAtMost(file, expected, limit) : std::nullopt;
}

}  // namespace

std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit) {
    return read(path, limit, 0, std::nullopt);
}

std::optional<std::string> readSmallFileOf(uid_t owner, const std::string& path,
                                           std::size_t limit) {
    return read(path, limit, O_NOFOLLOW, owner);
}

}  // namespace quillmoor::platform::posix
