// Inflates deflated data: at once if all of it is in memory, else piece by piece.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

namespace quillmoor::ditto {

// Its own memory does not grow with the data.
class WholeInflater {
  public:
    WholeInflater();
    ~WholeInflater();

    enum class Status { Done, Damaged, OutputTooSmall };
    struct Result {
        Status status;
        std::size_t read = 0;  // bytes of the input, if it is done
        std::size_t written = 0;
    };
    Result inflate(std::span<const unsigned char> input, std::span<unsigned char> output);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

// Inflates one stream after the other.
class StreamInflater {
  public:
    StreamInflater();
    ~StreamInflater();

    // Begins a new stream.
    void start();

    bool isDone() const;
    // Returns true once all input is taken: more may be fed.
    bool needsInput() const;
    // The caller keeps `input` unchanged until it is taken.
    void feed(std::span<const unsigned char> input);
    // The number of bytes that were fed beyond the stream's end.
    std::size_t unread() const;

    // Returns the number of bytes written, fewer than fit if input is needed or the stream is done;
    // nothing if the data is damaged.
    std::optional<std::size_t> inflate(std::span<unsigned char> output);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace quillmoor::ditto
