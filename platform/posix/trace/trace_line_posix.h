// One line of the trace. Nothing here allocates, locks, calls the library or changes errno, so that
// a line can be written from every thread and from the child of a fork.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string_view>

namespace quillmoor::platform::posix {

// A text of bounded length in printable ASCII. What is too long ends in "...", but for what is
// added after cut().
class TraceText {
  public:
    void add(std::string_view text);
    void addNumber(std::int64_t number);
    void addHex(std::uint64_t number);
    void addOctal(std::uint64_t number);
    // In quotes, with every byte that is not printable, each quote and each backslash as \xHH. A
    // null pointer is written as null.
    void addQuoted(std::string_view text);
    void addQuoted(const char* text);

    // From now on the text may use the room that is kept for its end.
    void cut();

    // To standard error, with a line's end, in one call.
    void write();

  private:
    static constexpr std::size_t kRoom = 2048;
    static constexpr std::size_t kRoomAtEnd = 256;

    void addInBase(std::uint64_t number, unsigned base);

    std::array<char, kRoom> bytes_{};
    std::size_t size_ = 0;
    std::size_t limit_ = kRoom - kRoomAtEnd;
    bool isCut_ = false;
};

// kx[PROCESS/THREAD] AREA CALL(ARGUMENTS) = RESULT (TIME)
class TraceLine : public TraceText {
  public:
    TraceLine(const char* area, const char* call);

    // Comes before each argument that is added.
    void beginArgument();
    // All arguments are there; the time that the call takes begins.
    void beginCall();
    // The call is done; its result is added next.
    void endCall();
    // The name of an error number, after a space.
    void addError(int error);
    // The line is complete.
    void end();

  private:
    bool hasArgument_ = false;
    timespec begun_{};
    std::int64_t microseconds_ = 0;
};

}  // namespace quillmoor::platform::posix
