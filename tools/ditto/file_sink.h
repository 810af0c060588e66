// Writes the pieces of an unpacked file to its descriptor, at once or on a separate thread.
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

// Both write all of `bytes`, or throw a Failure that names `name`.
void writeAll(int file, std::span<const unsigned char> bytes, std::string_view name);
void writeAllAt(int file, std::uint64_t offset, std::span<const unsigned char> bytes,
                std::string_view name);

// Writes each piece when it is accepted. Can be used for one file after the other.
class FileSink : public PieceSink {
  public:
    // `file` and `name` must stay valid until finish() has returned.
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

// Sums up and writes the pieces of one large file on a separate thread while the next ones are
// unpacked. A failure to write is thrown by room() or finish().
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
    std::uint32_t crc_ = 0;  // used by the thread alone until it has ended

    std::mutex mutex_;
    std::condition_variable changed_;
    std::array<Piece, 4> pieces_;
    std::size_t filled_ = 0;   // pieces accepted so far
    std::size_t written_ = 0;  // pieces written so far
    bool ended_ = false;
    std::exception_ptr failure_;
    platform::posix::Thread thread_;
};

}  // namespace quillmoor::ditto
