#include "quillmoor/platform/posix/process/file_handle_posix.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform {
namespace posix {
namespace {

// The usual size of a pipe's buffer.
constexpr std::size_t kLeastRoom = std::size_t{64} << 10;
// Systems reject larger sizes in one call, or shorten them.
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;

constexpr char kRead[] = "the file couldn’t be read";
constexpr char kWritten[] = "the file couldn’t be written";
constexpr char kSearched[] = "the file’s end couldn’t be found";
constexpr char kPipeMade[] = "the pipe couldn’t be made";

std::string refusal(const char* what, int error) {
    return std::string(what) + ": " + systemErrorText(error);
}

[[noreturn]] void throwRefused(const char* what, int error) {
    throw Exception(kFileHandleOperationException, refusal(what, error));
}

// Lack of memory is reported as the handle's own exception, as on the platform.
char* roomFor(ByteBuffer& buffer) {
    try {
        return buffer.reserveMore(kLeastRoom);
    } catch (const std::bad_alloc&) {
        throwRefused(kRead, ENOMEM);
    }
}

}  // namespace

// Keeps the descriptor open during one call.
class DescriptorHandle::Use {
  public:
    Use(DescriptorHandle& handle, const char* what) : handle_(handle) {
        unsigned state = handle.state_.load(std::memory_order_relaxed);
        do
            if ((state & kClosed) != 0) throwRefused(what, EBADF);
        while (!handle.state_.compare_exchange_weak(
            state, state + kOneCall, std::memory_order_acq_rel, std::memory_order_relaxed));
    }
    ~Use() {
        const unsigned before = handle_.state_.fetch_sub(kOneCall, std::memory_order_acq_rel);
        if (before == (kOneCall | kClosed)) handle_.descriptor_.reset();
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

  private:
    DescriptorHandle& handle_;
};

void DescriptorHandle::writeData(std::string_view bytes) {
    const Use use(*this, kWritten);
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = systemCalls().write(descriptor_.get(), bytes.data() + written,
                                                  std::min(bytes.size() - written, kMostAtOnce));
        if (count >= 0)
            written += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            throw WriteFailure(refusal(kWritten, errno), written);
    }
}

std::uint64_t DescriptorHandle::seekToEndOfFile() {
    const Use use(*this, kSearched);
    const off_t end = systemCalls().lseek(descriptor_.get(), 0, SEEK_END);
    if (end < 0) throwRefused(kSearched, errno);
    return static_cast<std::uint64_t>(end);
}

void DescriptorHandle::writeAtEndOnly() {
    const Use use(*this, kWritten);
    const int flags = ::fcntl(descriptor_.get(), F_GETFL);
    if (flags < 0 || ::fcntl(descriptor_.get(), F_SETFL, flags | O_APPEND) != 0)
        throwRefused(kWritten, errno);
}

const WakeDescriptor& DescriptorHandle::closing() {
    WakeDescriptor* there = closing_.load(std::memory_order_acquire);
    if (there != nullptr) return *there;
    auto made = std::make_unique<WakeDescriptor>();
    // Two first readers may both make one: the second one's is released again.
    if (closing_.compare_exchange_strong(there, made.get())) there = made.release();
    return *there;
}

std::size_t DescriptorHandle::readAvailableData(ByteBuffer& buffer) {
    // Made before the call counts as one that uses the descriptor: closeFile(), which finds such a
    // call, must find what wakes it.
    const WakeDescriptor& closed = closing();
    const Use use(*this, kRead);
    const std::lock_guard reading(reading_);
    char* const room = roomFor(buffer);
    for (;;) {
        pollfd both[] = {{descriptor_.get(), POLLIN, 0}, {closed.get(), POLLIN, 0}};
        if (systemCalls().poll(both, 2, -1) < 0) {
            if (errno == EINTR) continue;
            throwRefused(kRead, errno);
        }
        // Closed meanwhile, as if the call had been made after that.
        if (both[1].revents != 0) throwRefused(kRead, EBADF);
        const ssize_t count =
            systemCalls().read(descriptor_.get(), room, std::min(buffer.room(), kMostAtOnce));
        if (count >= 0) {
            buffer.addFilled(static_cast<std::size_t>(count));
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR && errno != EAGAIN) throwRefused(kRead, errno);
    }
}

void DescriptorHandle::closeFile() {
    const unsigned before = state_.fetch_or(kClosed, std::memory_order_acq_rel);
    if ((before & kClosed) != 0) return;
    // While calls use the descriptor, the last of them closes it; a reader that waits is woken.
    if (before == 0)
        descriptor_.reset();
    else if (WakeDescriptor* const reader = closing_.load(std::memory_order_acquire))
        reader->signal();
}

void NullDeviceHandle::check(const char* what) const {
    if (isClosed()) throwRefused(what, EBADF);
}

void NullDeviceHandle::writeData(std::string_view) {
    check(kWritten);
}

std::uint64_t NullDeviceHandle::seekToEndOfFile() {
    check(kSearched);
    return 0;
}

std::size_t NullDeviceHandle::readAvailableData(ByteBuffer&) {
    check(kRead);
    return 0;
}

void NullDeviceHandle::closeFile() {
    closed_.store(true, std::memory_order_release);
}

namespace {

class PosixFileHandles final : public FileHandles {
  public:
    std::shared_ptr<FileHandle> openForWriting(const std::string& path) override {
        if (path.find('\0') != std::string::npos) return nullptr;
        // Without waiting: for a named pipe without a reader, open fails instead of blocking.
        Descriptor file = aboveStandardStreams(Descriptor(systemCalls().openat(
            AT_FDCWD, path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0)));
        if (!file) return nullptr;
        // Later writes are to wait where a pipe is full.
        const int flags = systemCalls().fcntl(file.get(), F_GETFL, 0);
        if (systemCalls().fcntl(file.get(), F_SETFL, flags & ~O_NONBLOCK) != 0) return nullptr;
        return std::make_shared<DescriptorHandle>(std::move(file));
    }

    bool endsWithinLine(const std::string& path) override {
        const Descriptor file = aboveStandardStreams(Descriptor(systemCalls().openat(
            AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0)));
        // Where the last byte cannot be read the result is true: an empty line too many is better
        // than two messages in one line.
        if (!file) return errno != ENOENT;
        struct stat status;
        if (systemCalls().fstat(file.get(), &status) != 0) return true;
        if (!S_ISREG(status.st_mode) || status.st_size == 0) return false;
        if (systemCalls().lseek(file.get(), -1, SEEK_END) < 0) return true;
        char last = 0;
        ssize_t count = 0;
        do count = systemCalls().read(file.get(), &last, 1);
        while (count < 0 && errno == EINTR);
        return count != 1 || last != '\n';
    }

    std::shared_ptr<FileHandle> nullDevice() override {
        return std::make_shared<NullDeviceHandle>();
    }

    Pipe makePipe() override {
        int ends[2];
        if (systemCalls().pipe(ends) != 0) throwRefused(kPipeMade, errno);
        // Both are owned before either is moved, so that a failure closes both.
        Descriptor first(ends[0]);
        Descriptor second(ends[1]);
        Descriptor reading = aboveStandardStreams(std::move(first));
        if (!reading) throwRefused(kPipeMade, errno);
        Descriptor writing = aboveStandardStreams(std::move(second));
        if (!writing) throwRefused(kPipeMade, errno);
        return {std::make_shared<DescriptorHandle>(std::move(reading)),
                std::make_shared<DescriptorHandle>(std::move(writing))};
    }
};

}  // namespace
}  // namespace posix

FileHandles* nativeFileHandles() {
    static FileHandles* const handles = new posix::PosixFileHandles;
    return handles;
}

}  // namespace quillmoor::platform
