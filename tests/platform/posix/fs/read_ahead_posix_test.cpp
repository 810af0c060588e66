#include "quillmoor/platform/posix/fs/read_ahead_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using namespace std::chrono_literals;
using test::TempFolder;

// No two pieces of it are alike, and the last one is not full.
std::string longText() {
    std::string text;
    while (text.size() < (9U << 20) + 12345) text += std::to_string(text.size()) + ' ';
    return text;
}

Descriptor opened(const std::string& path) {
    return Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

// All pieces, and the error number at the end.
std::pair<std::string, int> allOf(ReadAhead& ahead) {
    std::string text;
    for (;;) {
        std::string_view piece;
        const int error = ahead.next(piece);
        if (piece.empty()) return {text, error};
        text += piece;
    }
}

// Another read(2), as long as it lives.
class OtherRead {
  public:
    explicit OtherRead(ssize_t (*read)(int, void*, std::size_t)) : calls_(systemCalls()) {
        calls_.read = read;
        before_ = exchangeSystemCalls(&calls_);
        count = 0;
    }
    ~OtherRead() { exchangeSystemCalls(before_); }
    OtherRead(const OtherRead&) = delete;
    OtherRead& operator=(const OtherRead&) = delete;

    static inline std::atomic<int> count{0};

  private:
    SystemCalls calls_;
    const SystemCalls* before_ = nullptr;
};

TEST(ReadAhead, ReturnsTheWholeFileInItsOrder) {
    const TempFolder folder;
    const std::string text = longText();
    const Descriptor file = opened(folder.writeFile("file", text));
    ReadAhead ahead(file.get(), static_cast<off_t>(text.size()));
    ASSERT_TRUE(ahead.started());
    const auto [read, error] = allOf(ahead);
    EXPECT_EQ(error, 0);
    EXPECT_TRUE(read == text);
    std::string_view piece;
    EXPECT_EQ(ahead.next(piece), 0);
    EXPECT_TRUE(piece.empty());
}

TEST(ReadAhead, BeginsAtTheOffsetAndEndsAtTheLength) {
    const TempFolder folder;
    const std::string text = longText();
    const Descriptor file = opened(folder.writeFile("file", text));
    ASSERT_EQ(::lseek(file.get(), 1000, SEEK_SET), 1000);
    constexpr off_t kLength = 3 << 20;
    ReadAhead ahead(file.get(), kLength);
    EXPECT_TRUE(allOf(ahead).first == text.substr(1000, kLength));
    EXPECT_EQ(::lseek(file.get(), 0, SEEK_CUR), 1000 + kLength);
}

TEST(ReadAhead, EndsWhereAFileIsShorterThanExpected) {
    const TempFolder folder;
    const Descriptor file = opened(folder.writeFile("file", "short"));
    ReadAhead ahead(file.get(), 1 << 20);
    EXPECT_EQ(allOf(ahead), std::make_pair(std::string("short"), 0));
}

TEST(ReadAhead, APieceStaysAsItIsWhileOthersAreRead) {
    const TempFolder folder;
    const std::string text = longText();
    const Descriptor file = opened(folder.writeFile("file", text));
    ReadAhead ahead(file.get(), static_cast<off_t>(text.size()));
    std::size_t at = 0;
    for (std::string_view piece; ahead.next(piece) == 0 && !piece.empty(); at += piece.size()) {
        std::this_thread::sleep_for(2ms);
        ASSERT_TRUE(piece == std::string_view(text).substr(at, piece.size())) << at;
    }
    EXPECT_EQ(at, text.size());
}

TEST(ReadAhead, ReportsAnErrorAfterThePiecesBefore) {
    const TempFolder folder;
    const std::string text = longText();
    const Descriptor file = opened(folder.writeFile("file", text));
    const OtherRead failing([](int number, void* bytes, std::size_t size) -> ssize_t {
        if (++OtherRead::count < 4) return ::read(number, bytes, size);
        errno = EIO;
        return -1;
    });
    ReadAhead ahead(file.get(), static_cast<off_t>(text.size()));
    const auto [read, error] = allOf(ahead);
    EXPECT_EQ(error, EIO);
    EXPECT_GT(read.size(), 0U);
    EXPECT_TRUE(read == text.substr(0, read.size()));
    std::string_view piece;
    EXPECT_EQ(ahead.next(piece), EIO);
}

TEST(ReadAhead, AnInterruptedReadIsTriedAgain) {
    const TempFolder folder;
    const std::string text = longText();
    const Descriptor file = opened(folder.writeFile("file", text));
    const OtherRead interrupted([](int number, void* bytes, std::size_t size) -> ssize_t {
        if (++OtherRead::count % 2 == 0) return ::read(number, bytes, size);
        errno = EINTR;
        return -1;
    });
    ReadAhead ahead(file.get(), static_cast<off_t>(text.size()));
    EXPECT_TRUE(allOf(ahead) == std::make_pair(text, 0));
}

TEST(ReadAhead, ReadsNoFurtherThanAFewPiecesAhead) {
    const TempFolder folder;
    const std::string text = longText();
    const Descriptor file = opened(folder.writeFile("file", text));
    const OtherRead counted([](int number, void* bytes, std::size_t size) -> ssize_t {
        ++OtherRead::count;
        return ::read(number, bytes, size);
    });
    ReadAhead ahead(file.get(), static_cast<off_t>(text.size()));
    std::string_view piece;
    ASSERT_EQ(ahead.next(piece), 0);
    std::this_thread::sleep_for(50ms);
    EXPECT_LE(OtherRead::count, 4);
    EXPECT_TRUE(piece == text.substr(0, piece.size()));
}

TEST(ReadAhead, CanBeReleasedAtAnyPiece) {
    const TempFolder folder;
    const std::string text = longText();
    for (int pieces = 0; pieces < 20; ++pieces) {
        const Descriptor file = opened(folder.writeFile("file", text));
        ReadAhead ahead(file.get(), static_cast<off_t>(text.size()));
        std::string_view piece;
        for (int i = 0; i < pieces; ++i) EXPECT_EQ(ahead.next(piece), 0);
    }
}

TEST(ReadAhead, WithoutMemoryIsNotStarted) {
    const TempFolder folder;
    const Descriptor file = opened(folder.writeFile("file", "text"));
    int nth = 1;
    for (bool happened = true; happened; ++nth) {
        const test::FailingAllocations failing(nth);
        const ReadAhead ahead(file.get(), 4);
        happened = failing.happened();
        EXPECT_EQ(ahead.started(), !happened) << nth;
    }
    EXPECT_GT(nth, 3);  // the buffer's and the thread's
}

TEST(ReadAhead, ItsThreadBlocksSignals) {
    const TempFolder folder;
    const Descriptor file = opened(folder.writeFile("file", longText()));
    static std::atomic<bool> blocked{false};
    const OtherRead asked([](int number, void* bytes, std::size_t size) -> ssize_t {
        blocked = test::isSignalBlocked(SIGTERM);
        return ::read(number, bytes, size);
    });
    {
        ReadAhead ahead(file.get(), 1 << 20);
        std::string_view piece;
        EXPECT_EQ(ahead.next(piece), 0);
    }
    EXPECT_TRUE(blocked);
    EXPECT_FALSE(test::isSignalBlocked(SIGTERM));
}

}  // namespace
}  // namespace quillmoor::platform::posix
