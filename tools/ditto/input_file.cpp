#include "tools/ditto/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/text.h"

namespace quillmoor::ditto {

using platform::posix::systemCalls;

InputFile::InputFile(std::string path) : path_(std::move(path)) {
    // Without O_NONBLOCK, opening a FIFO would wait for a writer.
    file_ = platform::posix::Descriptor(
        systemCalls().openat(AT_FDCWD, path_.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY, 0));
    if (!file_) failWithErrno(path_, "opened");
    struct stat info = {};
    if (systemCalls().fstat(file_.get(), &info) != 0) failWithErrno(path_, "examined");
    if (!S_ISREG(info.st_mode)) throw Failure(quoted(path_) + " is not a file");
    size_ = static_cast<std::uint64_t>(info.st_size);
}

void InputFile::readAt(std::uint64_t offset, std::span<unsigned char> bytes) const {
    while (!bytes.empty()) {
        // pread, because several threads read at different positions.
        const ssize_t got = systemCalls().pread(file_.get(), bytes.data(), bytes.size(),
                                                static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) failWithErrno(path_, "read");
        // Another process has cut the file since its size was read.
        if (got == 0) throw Failure(quoted(path_) + " ends too early");
        offset += static_cast<std::uint64_t>(got);
        bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
}

}  // namespace quillmoor::ditto
