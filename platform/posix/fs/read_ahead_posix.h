// Reading a large file on a second thread, while the first writes or packs what has been read.
#pragma once

#include <sys/types.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string_view>

#include "quillmoor/platform/posix/ground/thread_posix.h"

namespace quillmoor::platform::posix {

// Reads on its own thread, a few pieces ahead of the one thread that calls next().
class ReadAhead {
  public:
    // Begins to read `file` at its current offset. During the lifetime of this object the caller
    // keeps the file open and does not change its offset.
    ReadAhead(int file, off_t length);
    // Waits for the read that is under way.
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // False when there was no thread or no memory for it: then nothing is read.
    bool started() const { return thread_.joinable(); }

    // Waits for the next piece, which is valid until the next call; an empty one after `length`
    // bytes or at the end of the file. Returns 0 or the error number.
    int next(std::string_view& piece);

  private:
    // Together they fit into the processor's cache, so that a piece is still cached when it is
    // written.
    static constexpr std::size_t kPieces = 4;
    static constexpr std::size_t kPieceSize = std::size_t{512} << 10;

    void run();
    bool waitForRoom();
    char* room(std::size_t piece) { return buffer_.get() + piece % kPieces * kPieceSize; }

    const int file_;
    off_t left_;
    std::unique_ptr<char[]> buffer_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::array<std::size_t, kPieces> sizes_{};
    std::size_t read_ = 0;   // pieces, since the start
    std::size_t given_ = 0;  // of them; the last one is in use
    bool ended_ = false;     // nothing more is read
    bool stopped_ = false;   // nothing more is asked for
    int error_ = 0;
    Thread thread_;
};

}  // namespace quillmoor::platform::posix
