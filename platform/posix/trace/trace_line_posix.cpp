#include "quillmoor/platform/posix/trace/trace_line_posix.h"

#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "quillmoor/platform/posix/ground/thread_id_posix.h"

namespace quillmoor::platform::posix {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

bool isPlain(char letter) {
    return letter >= ' ' && letter <= '~' && letter != '"' && letter != '\\';
}

timespec now() {
    timespec time{};
    // Not the time of day, which may be set back during a call.
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

}  // namespace

void TraceText::add(std::string_view text) {
    // Nothing is added after a cut, or a short text would hide that one before it is missing.
    if (isCut_) return;
    const std::size_t size = std::min(text.size(), limit_ - size_);
    std::copy_n(text.data(), size, bytes_.data() + size_);
    size_ += size;
    isCut_ = size < text.size();
}

void TraceText::addNumber(std::int64_t number) {
    if (number < 0) add("-");
    const auto bits = static_cast<std::uint64_t>(number);
    // By unsigned arithmetic, since the least number has no positive counterpart.
    addInBase(number < 0 ? 0 - bits : bits, 10);
}

void TraceText::addHex(std::uint64_t number) {
    if (number != 0) add("0x");
    addInBase(number, 16);
}

void TraceText::addOctal(std::uint64_t number) {
    if (number != 0) add("0");
    addInBase(number, 8);
}

void TraceText::addInBase(std::uint64_t number, unsigned base) {
    // 64 bits have the most digits in base 8: 22.
    std::array<char, 24> digits{};
    std::size_t at = digits.size();
    do {
        digits[--at] = kDigits[number % base];
        number /= base;
    } while (number != 0);
    add({digits.data() + at, digits.size() - at});
}

void TraceText::addQuoted(std::string_view text) {
    add("\"");
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        // A file's name can have any bytes, and must neither begin a line nor control a terminal.
        const std::array<char, 4> escaped{'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 15U]};
        add(isPlain(letter) ? std::string_view(&letter, 1)
                            : std::string_view(escaped.data(), escaped.size()));
    }
    add("\"");
}

void TraceText::addQuoted(const char* text) {
    if (text == nullptr)
        add("null");
    else
        addQuoted(std::string_view(text));
}

void TraceText::cut() {
    limit_ = kRoom - 1;  // a line's end follows
    if (!isCut_) return;
    isCut_ = false;
    add("...");
}

void TraceText::write() {
    // The error of the traced call is still to be read by its caller.
    const int error = errno;
    bytes_[size_++] = '\n';
    // Not by the table of system calls, whose entries write such lines themselves.
    while (::write(STDERR_FILENO, bytes_.data(), size_) < 0 && errno == EINTR) continue;
    errno = error;
}

TraceLine::TraceLine(const char* area, const char* call) {
    add("kx[");
    addNumber(::getpid());
    add("/");
    addNumber(static_cast<std::int64_t>(currentThreadId()));
    add("] ");
    add(area);
    add(" ");
    add(call);
    add("(");
}

void TraceLine::beginArgument() {
    if (hasArgument_) add(", ");
    hasArgument_ = true;
}

void TraceLine::beginCall() {
    begun_ = now();
}

void TraceLine::endCall() {
    const timespec ended = now();
    microseconds_ = std::int64_t{ended.tv_sec - begun_.tv_sec} * 1'000'000 +
                    (ended.tv_nsec - begun_.tv_nsec) / 1'000;
    // The result is shown also after arguments that fill the line.
    cut();
    add(") = ");
}

void TraceLine::addError(int error) {
    add(" ");
#ifdef __GLIBC__
    const char* const name = ::strerrorname_np(error);
    if (name != nullptr) return add(name);
#endif
    add("error ");
    addNumber(error);
}

void TraceLine::end() {
    add(" (");
    addNumber(microseconds_);
    add(" us)");
    write();
}

}  // namespace quillmoor::platform::posix
