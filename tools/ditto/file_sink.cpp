#include "tools/ditto/file_sink.h"

#include <libdeflate.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

using platform::posix::systemCalls;

constexpr std::size_t kPieceSize = 256U << 10U;

std::uint32_t addToCrc(std::uint32_t crc, std::span<const unsigned char> bytes) {
    return ::libdeflate_crc32(crc, bytes.data(), bytes.size());
}

}  // namespace

void writeAll(int file, std::span<const unsigned char> bytes, std::string_view name) {
    const int error =
        platform::posix::writeAll(file, reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (error != 0) failWithError(name, "written", error);
}

// Unlike writeAll it leaves the file's position at the end, where the next bytes are appended.
void writeAllAt(int file, std::uint64_t offset, std::span<const unsigned char> bytes,
                std::string_view name) {
    while (!bytes.empty()) {
        const ssize_t put =
            systemCalls().pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) failWithErrno(name, "written");
        offset += static_cast<std::uint64_t>(put);
        bytes = bytes.subspan(static_cast<std::size_t>(put));
    }
}

void FileSink::start(int file, std::string_view name) {
    file_ = file;
    name_ = name;
    crc_ = 0;
}

std::span<unsigned char> FileSink::room(std::size_t wanted) {
    // Never more than a whole entry, whatever an archive declares.
    const std::size_t size = std::max(kPieceSize, std::min(wanted, kWholeEntry));
    if (buffer_.size() < size) buffer_.resize(size);
    return buffer_;
}

void FileSink::accept(std::size_t size) {
    const auto piece = std::span<const unsigned char>(buffer_).first(size);
    crc_ = addToCrc(crc_, piece);
    writeAll(file_, piece, name_);
}

BackgroundSink::BackgroundSink(int file, std::string_view name) : file_(file), name_(name) {
    // The memory first: if it runs out, there is no thread yet that would have to be joined.
    for (Piece& piece : pieces_) piece.bytes.resize(kPieceSize);
    thread_ = platform::posix::Thread([this] { work(); });
}

BackgroundSink::~BackgroundSink() {
    end();
}

std::span<unsigned char> BackgroundSink::room(std::size_t) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return failure_ || filled_ - written_ < pieces_.size(); });
    // Checked first: after a failure no piece becomes free any more.
    if (failure_) std::rethrow_exception(failure_);
    return pieces_[filled_ % pieces_.size()].bytes;
}

void BackgroundSink::accept(std::size_t size) {
    const std::lock_guard lock(mutex_);
    pieces_[filled_ % pieces_.size()].size = size;
    ++filled_;
    // One thread waits at most: the ring is not full and empty at once.
    changed_.notify_one();
}

std::uint32_t BackgroundSink::finish() {
    end();
    // The thread was joined: what it has written last can be read without the lock.
    if (failure_) std::rethrow_exception(failure_);
    return crc_;
}

// Pieces that are filled are still written: the thread ends when there is none left.
void BackgroundSink::end() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        changed_.notify_one();
    }
    thread_.join();
}

void BackgroundSink::work() {
    try {
        writePieces();
    } catch (...) {
        const std::lock_guard lock(mutex_);
        failure_ = std::current_exception();
        changed_.notify_one();
    }
}

// A ring of pieces: the unpacking thread fills the one at filled_, this thread writes the one at
// written_, and neither touches the other's.
void BackgroundSink::writePieces() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ended_ || written_ < filled_; });
        if (written_ == filled_) return;
        const Piece& piece = pieces_[written_ % pieces_.size()];
        lock.unlock();
        const auto bytes = std::span<const unsigned char>(piece.bytes).first(piece.size);
        crc_ = addToCrc(crc_, bytes);
        writeAll(file_, bytes, name_);
        lock.lock();
        ++written_;
        changed_.notify_one();
    }
}

}  // namespace quillmoor::ditto
