// Where the pieces of an unpacked file go: to its descriptor, at once or from a thread of their
// own.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quillmoor/platform/posix/ground/thread_posix.h"
#include "tools/ditto/entry_reader.h"

namespace quillmoor::ditto {

// Writes all of `bytes`. `name` is for the Failure.
void writeAll(int file, std::span<const unsigned char> bytes, std::string_view name);
void writeAllAt(int file, std::uint64_t offset, std::span<const unsigned char> bytes,
                std::string_view name);

// Writes each piece as it comes. Serves one file after the other.
class FileSink : public PieceSink {
  public:
    // `name` outlives the file's work.
    void start(int file, std::string_view name);

    std::span<unsigned char> room(std::size_t wanted) override;
    void accept(std::size_t size) override;
    std::uint32_t finish() override { return crc_; }

  private:
    std::vector<unsigned char> buffer_;
    std::string_view name_;
    int file_ = -1;
    std::uint32_t crc_ = 0;
};

// Checks and writes the pieces of one large file on a thread of its own while the next ones are
// unpacked. A failure of the writing shows in room() or finish().
class BackgroundSink : public PieceSink {
  public:
    BackgroundSink(int file, std::string_view name);
    ~BackgroundSink() override;

    std::span<unsigned char> room(std::size_t wanted) override;
    void accept(std::size_t size) override;
    std::uint32_t finish() override;

  private:
    struct Piece {
        std::vector<unsigned char> bytes;
        std::size_t size = 0;
    };

    void work();
    void writePieces();
    void end();

    const int file_;
    const std::string_view name_;
    std::uint32_t crc_ = 0;  // the thread's until it has ended

    std::mutex mutex_;
    std::condition_variable changed_;
    std::array<Piece, 4> pieces_;
    std::size_t filled_ = 0;   // pieces given, ever
    std::size_t written_ = 0;  // pieces done, ever
    bool ended_ = false;
    std::exception_ptr failure_;
    platform::posix::Thread thread_;
};

}  // namespace quillmoor::ditto
