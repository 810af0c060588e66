#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// A conversation that proceeds as long as the test says.
class Script : public Conversation {
  public:
    void await(std::vector<pollfd>& polled) const override {
        polled.push_back({descriptor, POLLIN, 0});
        polled.push_back({-1, POLLIN, 0});
    }
    bool proceed(const LaunchChild& launcher) override {
        ++calls;
        pid = launcher.pid();
        return !isReadable(descriptor, std::chrono::milliseconds(0)) || body();
    }

    int descriptor = -1;
    std::function<bool()> body;
    int calls = 0;
    pid_t pid = -1;
};

class LaunchWaitTest : public testing::Test {
  protected:
    void start(const std::string& script) {
        Pipe errors = Pipe::open();
        LaunchSetup setup;
        setup.path = "/bin/sh";
        setup.arguments = {"-c", script};
        setup.descriptors[2] = errors.write.get();
        launcher_ = LaunchChild::start(setup);
        ASSERT_NE(launcher_, nullptr);
        errors_ = std::move(errors.read);
    }
    LaunchAttempt wait(Conversation* conversation = nullptr) {
        return waitForHelper(nullptr, *launcher_, errors_, conversation);
    }

    std::unique_ptr<LaunchChild> launcher_;
    posix::Descriptor errors_;
};

TEST_F(LaunchWaitTest, EndsWithTheLauncher) {
    start("exit 7");
    const LaunchAttempt attempt = wait();
    EXPECT_FALSE(attempt.channel.has_value());
    ASSERT_TRUE(attempt.end.has_value());
    EXPECT_EQ(attempt.end->code, 7);
    EXPECT_EQ(attempt.complaint, "");
}

TEST_F(LaunchWaitTest, KeepsAllThatTheLauncherComplainsOf) {
    start("echo first >&2; sleep 0.05; printf last >&2");
    EXPECT_EQ(wait().complaint, "first\nlast");
}

TEST_F(LaunchWaitTest, BoundsTheTextOfAComplaint) {
    start("for n in 1 2 3 4 5 6 7 8; do printf %08192d $n >&2; done");
    const LaunchAttempt attempt = wait();
    EXPECT_TRUE(attempt.end.has_value());
    EXPECT_GE(attempt.complaint.size(), 16'384U);
    EXPECT_LT(attempt.complaint.size(), 16'384U + 4096U);
}

TEST_F(LaunchWaitTest, DoesNotWaitForOthersThatHoldTheText) {
    start("sleep 1000 & echo $! >&2");
    const LaunchAttempt attempt = wait();
    ASSERT_TRUE(attempt.end.has_value());
    const pid_t other = std::stoi(attempt.complaint);
    EXPECT_EQ(::kill(other, SIGKILL), 0);
}

TEST_F(LaunchWaitTest, ContinuesTheConversationWhenTextArrives) {
    test::Connection connection;
    Script script;
    script.descriptor = connection.first.get();
    script.body = [&] {
        launcher_->kill();
        connection.second.reset();
        char byte = 0;
        return ::read(connection.first.get(), &byte, 1) >= 0;
    };
    start("exec sleep 1000");
    ASSERT_EQ(::write(connection.second.get(), "x", 1), 1);
    EXPECT_TRUE(wait(&script).end.has_value());
    EXPECT_GE(script.calls, 1);
    EXPECT_EQ(script.pid, launcher_->pid());
}

TEST_F(LaunchWaitTest, KillsTheLauncherWhenTheConversationAbandonsIt) {
    start("exec sleep 1000");
    test::Connection connection;
    Script script;
    script.descriptor = connection.first.get();
    script.body = [] { return false; };
    ASSERT_EQ(::write(connection.second.get(), "x", 1), 1);
    const LaunchAttempt attempt = wait(&script);
    EXPECT_FALSE(attempt.end.has_value());
    EXPECT_FALSE(attempt.channel.has_value());
    ASSERT_TRUE(isReadable(launcher_->exitDescriptor(), std::chrono::seconds(10)));
    EXPECT_EQ(launcher_->end()->signal, SIGKILL);
}

TEST(IsReadableTest, IsTrueForTextAndForItsEnd) {
    Pipe pipe = Pipe::open();
    const std::chrono::milliseconds soon(5);
    EXPECT_FALSE(isReadable(pipe.read.get(), soon));
    ASSERT_EQ(::write(pipe.write.get(), "x", 1), 1);
    EXPECT_TRUE(isReadable(pipe.read.get(), soon));
    EXPECT_EQ(readPiece(pipe.read.get()), "x");
    EXPECT_FALSE(isReadable(pipe.read.get(), soon));
    pipe.write.reset();
    EXPECT_TRUE(isReadable(pipe.read.get(), soon));
    EXPECT_EQ(readPiece(pipe.read.get()), std::nullopt);
}

// The results that the calls below return, in this order, before the system's own is called: a
// number of bytes or descriptors, or a negated error.
std::vector<int> given;

bool nextGiven(int& result) {
    if (given.empty()) return false;
    result = given.front();
    given.erase(given.begin());
    if (result < 0) errno = -std::exchange(result, -1);
    return true;
}

void giveResults(posix::SystemCalls& table) {
    table.poll = [](pollfd* polled, nfds_t count, int milliseconds) {
        int result = 0;
        if (nextGiven(result)) return result;
        return posix::nativeSystemCalls().poll(polled, count, milliseconds);
    };
    table.read = [](int file, void* buffer, std::size_t size) -> ssize_t {
        int result = 0;
        if (nextGiven(result)) return result;
        return posix::nativeSystemCalls().read(file, buffer, size);
    };
}

class InterruptedTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(::write(pipe_.write.get(), "x", 1), 1); }
    void TearDown() override { given.clear(); }

    Pipe pipe_ = Pipe::open();
    const test::ChangedCalls calls_{giveResults};
};

TEST_F(InterruptedTest, CallsAreMadeAgain) {
    given = {-EINTR, -EINTR};
    EXPECT_TRUE(isReadable(pipe_.read.get(), std::chrono::milliseconds(0)));
    given = {-EINTR, -EINTR};
    EXPECT_EQ(readPiece(pipe_.read.get()), "x");
}

TEST_F(InterruptedTest, FailingCallsAreNotMadeAgain) {
    given = {-EIO};
    EXPECT_FALSE(isReadable(pipe_.read.get(), std::chrono::milliseconds(0)));
    given = {-EIO};
    EXPECT_EQ(readPiece(pipe_.read.get()), std::nullopt);
}

TEST_F(InterruptedTest, AnEarlierInterruptionIsNotTheEnds) {
    given = {0};
    errno = EINTR;
    EXPECT_FALSE(isReadable(pipe_.read.get(), std::chrono::milliseconds(0)));
    given = {0};
    errno = EINTR;
    EXPECT_EQ(readPiece(pipe_.read.get()), std::nullopt);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
