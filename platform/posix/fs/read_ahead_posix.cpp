#include "quillmoor/platform/posix/fs/read_ahead_posix.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/ground/signals_blocked_posix.h"

namespace quillmoor::platform::posix {

ReadAhead::ReadAhead(int file, off_t length)
    : file_(file), left_(length), buffer_(new (std::nothrow) char[kPieces * kPieceSize]) {
    if (buffer_ == nullptr) return;
    const SignalsBlocked blocked;
    try {
        thread_ = Thread([this] { run(); });
    } catch (const std::system_error&) {
        return;
    } catch (const std::bad_alloc&) {
        return;
    }
}

ReadAhead::~ReadAhead() {
    if (!started()) return;
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

int ReadAhead::next(std::string_view& piece) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return read_ > given_ || ended_; });
    piece = {};
    if (read_ == given_) return error_;
    piece = {room(given_), sizes_[given_ % kPieces]};
    // One condition serves both directions: the pieces cannot be all full and all empty at once, so
    // only one of the two threads ever waits.
    ++given_;  // the piece before is free
    lock.unlock();
    changed_.notify_one();
    return 0;
}

void ReadAhead::run() {
    while (waitForRoom()) {
        const auto wanted = static_cast<std::size_t>(std::min(left_, off_t{kPieceSize}));
        const ssize_t count = wanted > 0 ? readSome(file_, room(read_), wanted) : 0;
        const int error = count < 0 ? errno : 0;
        {
            const std::lock_guard lock(mutex_);
            // Pieces that were read before the error are still returned, and the error after them.
            error_ = error;
            ended_ = count <= 0;
            if (!ended_) sizes_[read_++ % kPieces] = static_cast<std::size_t>(count);
        }
        changed_.notify_one();
        if (count <= 0) return;
        left_ -= count;
    }
}

// False when no further piece is wanted. The piece that was returned last is still in use.
bool ReadAhead::waitForRoom() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return read_ - given_ + 1 < kPieces || stopped_; });
    return !stopped_;
}

}  // namespace quillmoor::platform::posix
