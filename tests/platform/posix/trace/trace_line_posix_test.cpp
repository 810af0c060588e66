#include "quillmoor/platform/posix/trace/trace_line_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <regex>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/thread_id_posix.h"
#include "tests/platform/support/captured_trace.h"

namespace quillmoor::platform::posix {
namespace {

template <typename Fill>
std::string textOf(const Fill& fill) {
    test::CapturedTrace trace;
    TraceText text;
    fill(text);
    text.cut();
    text.write();
    return trace.text();
}

std::string quoted(std::string_view given) {
    return textOf([&](TraceText& text) { text.addQuoted(given); });
}

TEST(TraceLine, NamesProcessAndThreadCallResultAndTime) {
    test::CapturedTrace trace;
    TraceLine line("fs", "openat");
    line.beginArgument();
    line.addQuoted("a");
    line.add(" in ");
    line.addNumber(5);
    line.beginArgument();
    line.addOctal(0666);
    line.beginCall();
    line.endCall();
    line.addNumber(-1);
    line.addError(EEXIST);
    line.end();
    const std::string expected = "kx\\[" + std::to_string(::getpid()) + "/" +
                                 std::to_string(currentThreadId()) +
                                 R"(\] fs openat\("a" in 5, 0666\) = -1 EEXIST \(\d+ us\)\n)";
    const std::string text = trace.text();
    EXPECT_TRUE(std::regex_match(text, std::regex(expected))) << text;
}

TEST(TraceText, EscapesWhatIsNotPrintable) {
    EXPECT_EQ(quoted("plain ~"), "\"plain ~\"\n");
    EXPECT_EQ(quoted("a\nb\x1b\x7f\xc3\xa9"), "\"a\\x0ab\\x1b\\x7f\\xc3\\xa9\"\n");
    EXPECT_EQ(quoted("\"\\"), "\"\\x22\\x5c\"\n");
    EXPECT_EQ(quoted(std::string_view("\0", 1)), "\"\\x00\"\n");
    const char* const none = nullptr;
    EXPECT_EQ(textOf([&](TraceText& text) { text.addQuoted(none); }), "null\n");
}

TEST(TraceText, WritesNumbersOfEverySize) {
    EXPECT_EQ(textOf([](TraceText& text) {
                  text.addNumber(0);
                  text.add(" ");
                  text.addNumber(std::numeric_limits<std::int64_t>::min());
                  text.add(" ");
                  text.addHex(std::numeric_limits<std::uint64_t>::max());
                  text.add(" ");
                  text.addOctal(std::numeric_limits<std::uint64_t>::max());
                  text.add(" ");
                  text.addHex(0);
              }),
              "0 -9223372036854775808 0xffffffffffffffff 01777777777777777777777 0\n");
}

TEST(TraceText, IsCutWhereItIsTooLongAndStillHasItsEnd) {
    const std::string text = textOf([](TraceText& line) {
        line.addQuoted(std::string(5000, 'n'));
        line.add("left out");
        line.cut();
        line.add(" the end");
    });
    EXPECT_LE(text.size(), 2048U);
    EXPECT_GT(text.size(), 1000U);
    EXPECT_TRUE(text.ends_with("nnn... the end\n")) << text;
    EXPECT_LE(textOf([](TraceText& line) {
                  line.cut();
                  line.add(std::string(5000, 'n'));
              }).size(),
              2048U);
}

TEST(TraceText, LeavesErrnoUnchangedWhereItCannotBeWritten) {
    const Descriptor kept(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10));
    ::close(STDERR_FILENO);
    TraceText text;
    text.add("lost");
    errno = ENOENT;
    text.write();
    const int error = errno;
    ::dup2(kept.get(), STDERR_FILENO);
    EXPECT_EQ(error, ENOENT);
}

}  // namespace
}  // namespace quillmoor::platform::posix
