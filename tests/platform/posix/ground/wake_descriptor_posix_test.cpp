#include "quillmoor/platform/posix/ground/wake_descriptor_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <thread>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/children/child_tools.h"

namespace quillmoor::platform::posix {
namespace {

bool isReadable(const WakeDescriptor& wake, int milliseconds = 0) {
    pollfd polled{wake.get(), POLLIN, 0};
    return ::poll(&polled, 1, milliseconds) == 1;
}

TEST(WakeDescriptor, IsReadableFromSignalToClear) {
    WakeDescriptor wake;
    EXPECT_FALSE(isReadable(wake));
    wake.signal();
    EXPECT_TRUE(isReadable(wake));
    wake.clear();
    EXPECT_FALSE(isReadable(wake));
}

TEST(WakeDescriptor, OneClearUndoesManySignals) {
    WakeDescriptor wake;
    for (int i = 0; i < 100; ++i) wake.signal();
    wake.clear();
    EXPECT_FALSE(isReadable(wake));
    wake.clear();
    EXPECT_FALSE(isReadable(wake));
}

TEST(WakeDescriptor, WakesAPollOnAnotherThread) {
    WakeDescriptor wake;
    bool woken = false;
    std::thread waiter([&] { woken = isReadable(wake, 10'000); });
    wake.signal();
    waiter.join();
    EXPECT_TRUE(woken);
}

TEST(WakeDescriptor, IsCloseOnExecAndAboveTheStandardStreams) {
    WakeDescriptor wake;
    EXPECT_GE(wake.get(), 3);
    EXPECT_NE(::fcntl(wake.get(), F_GETFD) & FD_CLOEXEC, 0);
}

// A system without descriptors that count events makes pipes.
class WakeDescriptorOfAPipe : public ::testing::Test {
  protected:
    WakeDescriptorOfAPipe() {
        SystemCalls calls = systemCalls();
        calls.wakePair = [](int ends[2]) { return ::pipe2(ends, O_CLOEXEC | O_NONBLOCK); };
        const SystemCalls* before = exchangeSystemCalls(&calls);
        wake_.emplace();
        exchangeSystemCalls(before);
    }

    std::optional<WakeDescriptor> wake_;
};

TEST_F(WakeDescriptorOfAPipe, IsReadableFromSignalToClear) {
    EXPECT_FALSE(isReadable(*wake_));
    wake_->signal();
    EXPECT_TRUE(isReadable(*wake_));
    wake_->clear();
    EXPECT_FALSE(isReadable(*wake_));
}

TEST_F(WakeDescriptorOfAPipe, OneClearUndoesMoreSignalsThanAPipeHolds) {
    for (int i = 0; i < 20'000; ++i) wake_->signal();
    wake_->clear();
    EXPECT_FALSE(isReadable(*wake_));
    wake_->signal();
    EXPECT_TRUE(isReadable(*wake_));
}

// Reading and writing fail with `failure` twice, and then no more.
int failure = 0;
int calls = 0;

bool fails() {
    errno = failure;
    return calls++ < 2;
}

class WakeDescriptorWithFaults : public ::testing::Test {
  protected:
    WakeDescriptorWithFaults() {
        calls = 0;
        table_.read = [](int file, void* buffer, std::size_t size) -> ssize_t {
            return fails() ? -1 : nativeSystemCalls().read(file, buffer, size);
        };
        table_.write = [](int file, const void* buffer, std::size_t size) -> ssize_t {
            return fails() ? -1 : nativeSystemCalls().write(file, buffer, size);
        };
    }
    ~WakeDescriptorWithFaults() override { exchangeSystemCalls(nullptr); }

    SystemCalls table_ = nativeSystemCalls();
    WakeDescriptor wake_;
};

TEST_F(WakeDescriptorWithFaults, InterruptedCallsAreRepeated) {
    failure = EINTR;
    exchangeSystemCalls(&table_);
    wake_.signal();
    EXPECT_EQ(calls, 3);
    EXPECT_TRUE(isReadable(wake_));
    calls = 0;
    wake_.clear();
    EXPECT_EQ(calls, 3);
    EXPECT_FALSE(isReadable(wake_));
}

// As when it is signalled or cleared already.
TEST_F(WakeDescriptorWithFaults, OtherFailuresAreNotRepeated) {
    failure = EAGAIN;
    exchangeSystemCalls(&table_);
    wake_.signal();
    EXPECT_EQ(calls, 1);
    wake_.clear();
    EXPECT_EQ(calls, 2);
}

TEST(WakeDescriptor, ThrowsWhenTheProcessHasNoDescriptorsLeft) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    std::string name;
    try {
        WakeDescriptor wake;
    } catch (const Exception& exception) {
        name = exception.name();
    }
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(name, kFileHandleOperationException);
}

}  // namespace
}  // namespace quillmoor::platform::posix
