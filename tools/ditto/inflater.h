// Deflated data unpacked: at once where all of it is in memory, else piece by piece.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

namespace quillmoor::ditto {

// Needs no memory of its own that grows with the data.
class WholeInflater {
  public:
    WholeInflater();
    ~WholeInflater();

    enum class Status { Done, Damaged, OutputTooSmall };
    struct Result {
        Status status;
        std::size_t read = 0;  // of the input, where it is done
        std::size_t written = 0;
    };
    Result inflate(std::span<const unsigned char> input, std::span<unsigned char> output);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

// One stream after the other.
class StreamInflater {
  public:
    StreamInflater();
    ~StreamInflater();

    // Begins a new stream.
    void start();

    bool isDone() const;
    // All input was taken; more may be fed.
    bool needsInput() const;
    // The input remains the caller's until it was taken.
    void feed(std::span<const unsigned char> input);
    // What was fed behind the stream's end.
    std::size_t unread() const;

    // Returns the bytes written, fewer than fit where input is needed or the stream is done;
    // nothing where the data is damaged.
    std::optional<std::size_t> inflate(std::span<unsigned char> output);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace quillmoor::ditto
