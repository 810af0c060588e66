#include "quillmoor/platform/linux/authorization/channel/launch_child_linux.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

constexpr std::chrono::seconds kLong{10};

std::unique_ptr<LaunchChild> startShell(const std::string& script, int output = -1) {
    LaunchSetup setup;
    setup.path = "/bin/sh";
    setup.arguments = {"-c", script, "$0", "a b", ""};
    setup.environment = {{"WORD", "of ours"}};
    setup.descriptors[1] = output;
    return LaunchChild::start(setup);
}

std::string outputOf(const std::string& script) {
    Pipe output = Pipe::open();
    const auto child = startShell(script, output.write.get());
    output.write.reset();
    std::string text;
    while (const auto piece = readPiece(output.read.get())) text += *piece;
    return text;
}

TEST(LaunchChildTest, HasItsArgumentsAndEnvironmentAlone) {
    EXPECT_EQ(outputOf(R"(echo "$#" "$1" "$2")"), "2 a b \n");
    EXPECT_EQ(outputOf("/usr/bin/env | grep -v ^PWD= | grep -v ^_= | grep -v ^SHLVL="),
              "WORD=of ours\n");
}

TEST(LaunchChildTest, HasNoOtherDescriptors) {
    EXPECT_EQ(outputOf("ls /proc/$$/fd"), "0\n1\n2\n");
    EXPECT_EQ(outputOf("readlink /proc/$$/fd/0 /proc/$$/fd/2"), "/dev/null\n/dev/null\n");
}

TEST(LaunchChildTest, HasTheDescriptorsOfItsSetup) {
    Pipe output = Pipe::open();
    LaunchSetup setup;
    setup.path = "/bin/sh";
    setup.arguments = {"-c", "echo three >&3"};
    setup.descriptors[3] = output.write.get();
    const auto child = LaunchChild::start(setup);
    ASSERT_NE(child, nullptr);
    output.write.reset();
    EXPECT_EQ(readPiece(output.read.get()), "three\n");
}

TEST(LaunchChildTest, IsNullWithoutAProgram) {
    LaunchSetup setup;
    setup.path = "/nonexistent/program";
    EXPECT_EQ(LaunchChild::start(setup), nullptr);
}

TEST(LaunchChildTest, EndsWithItsCode) {
    const auto child = startShell("exit 7");
    ASSERT_NE(child, nullptr);
    ASSERT_TRUE(isReadable(child->exitDescriptor(), kLong));
    EXPECT_FALSE(child->isRunning());
    for (int time = 0; time < 2; ++time) {  // also when it was asked before
        const auto end = child->end();
        ASSERT_TRUE(end.has_value());
        EXPECT_EQ(end->code, 7);
        EXPECT_EQ(end->signal, std::nullopt);
    }
    EXPECT_FALSE(child->isRunning());
}

TEST(LaunchChildTest, RunsUntilItIsKilled) {
    Pipe input = Pipe::open();
    Pipe output = Pipe::open();
    LaunchSetup setup;
    setup.path = "/bin/cat";
    setup.descriptors = {input.read.get(), output.write.get(), -1, -1};
    const auto child = LaunchChild::start(setup);
    ASSERT_NE(child, nullptr);
    ASSERT_EQ(::write(input.write.get(), "x", 1), 1);
    EXPECT_EQ(readPiece(output.read.get()), "x");
    EXPECT_TRUE(child->isRunning());
    EXPECT_FALSE(child->end().has_value());
    EXPECT_FALSE(child->isEnding());
    EXPECT_EQ(::kill(child->pid(), 0), 0);
    child->kill();
    ASSERT_TRUE(isReadable(child->exitDescriptor(), kLong));
    EXPECT_TRUE(child->isEnding());
    ASSERT_TRUE(child->end().has_value());
    EXPECT_EQ(child->end()->signal, SIGKILL);
    EXPECT_EQ(child->end()->code, std::nullopt);
    child->kill();  // signals no process
}

TEST(LaunchChildTest, HasAnUnknownEndWhereTheHostIgnoresItsChildren) {
    ::signal(SIGCHLD, SIG_IGN);
    Pipe input = Pipe::open();
    LaunchSetup setup;
    setup.path = "/bin/cat";
    setup.descriptors[0] = input.read.get();
    const auto child = LaunchChild::start(setup);
    ASSERT_NE(child, nullptr);
    input.write.reset();
    ASSERT_TRUE(isReadable(child->exitDescriptor(), kLong));
    ASSERT_TRUE(child->end().has_value());
    EXPECT_EQ(child->end()->code, std::nullopt);
    EXPECT_EQ(child->end()->signal, std::nullopt);
    EXPECT_FALSE(child->isRunning());
    ::signal(SIGCHLD, SIG_DFL);
}

TEST(LaunchChildTest, IsCollectedWhenItEndsLater) {
    Pipe input = Pipe::open();
    LaunchSetup setup;
    setup.path = "/bin/cat";
    setup.descriptors[0] = input.read.get();
    auto child = LaunchChild::start(setup);
    ASSERT_NE(child, nullptr);
    const pid_t pid = child->pid();
    input.read.reset();
    child.reset();
    EXPECT_EQ(::kill(pid, 0), 0);
    input.write.reset();
    const auto limit = std::chrono::steady_clock::now() + kLong;
    while (::kill(pid, 0) == 0 && std::chrono::steady_clock::now() < limit) ::usleep(1000);
    EXPECT_NE(::kill(pid, 0), 0);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
