#include "platform/posix/wake_descriptor_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>

#include <thread>

#include "platform/exception.h"
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

TEST(WakeDescriptor, IsNotInheritedAndStandsAboveTheStandardStreams) {
    WakeDescriptor wake;
    EXPECT_GE(wake.get(), 3);
    EXPECT_NE(::fcntl(wake.get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(WakeDescriptor, SaysSoWhenTheProcessHasNoDescriptorsLeft) {
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
