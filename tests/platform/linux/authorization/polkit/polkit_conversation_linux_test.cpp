#include "quillmoor/platform/linux/authorization/polkit/polkit_conversation_linux.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using Outcome = PolkitConversation::Outcome;

constexpr char kPrompt[] = "PAM_PROMPT_ECHO_OFF Password: \n";

// The test is the program at the other end.
class PolkitConversationTest : public testing::Test {
  protected:
    Outcome afterText(std::string_view text) {
        EXPECT_EQ(::send(program_.get(), text.data(), text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(text.size()));
        return conversation_.proceed();
    }
    std::string given() const {
        char line[1024];
        const ssize_t count = ::recv(program_.get(), line, sizeof line, MSG_DONTWAIT);
        return count > 0 ? std::string(line, static_cast<std::size_t>(count)) : "";
    }

    test::Connection connection_;
    posix::Descriptor& program_ = connection_.second;
    PolkitConversation conversation_{std::move(connection_.first), nullptr, "pass word"};
};

TEST_F(PolkitConversationTest, SendsThePasswordForThePromptOnly) {
    EXPECT_EQ(conversation_.proceed(), Outcome::Undecided);
    EXPECT_EQ(afterText("PAM_TEXT_INFO Password: \nPAM_ERROR_MSG PAM_PROMPT_ECHO_OFF \n"),
              Outcome::Undecided);
    EXPECT_FALSE(conversation_.wasAsked());
    EXPECT_EQ(given(), "");
    EXPECT_EQ(afterText(kPrompt), Outcome::Undecided);
    EXPECT_TRUE(conversation_.wasAsked());
    EXPECT_EQ(given(), "pass word\n");
    EXPECT_EQ(afterText("SUCCESS\n"), Outcome::Granted);
}

TEST_F(PolkitConversationTest, IsRefusedForAWrongPassword) {
    afterText(kPrompt);
    EXPECT_EQ(afterText("FAILURE\n"), Outcome::Refused);
}

TEST_F(PolkitConversationTest, IsRefusedBeforeAnyPromptAsWell) {
    EXPECT_EQ(afterText("FAILURE\n"), Outcome::Refused);
    EXPECT_FALSE(conversation_.wasAsked());
}

TEST_F(PolkitConversationTest, SendsThePasswordOnce) {
    EXPECT_EQ(afterText(kPrompt), Outcome::Undecided);
    EXPECT_EQ(given(), "pass word\n");
    EXPECT_EQ(afterText(kPrompt), Outcome::Refused);
    EXPECT_EQ(given(), "");
}

TEST_F(PolkitConversationTest, AnswersOnceWhenPromptsArriveTogether) {
    EXPECT_EQ(afterText(std::string(kPrompt) + kPrompt), Outcome::Refused);
    EXPECT_EQ(given(), "pass word\n");
}

TEST_F(PolkitConversationTest, SendsThePasswordAfterAnInterruption) {
    const test::ChangedCalls changed([](posix::SystemCalls& calls) {
        calls.send = [](int socket, const void* bytes, std::size_t size, int flags) -> ssize_t {
            static int interruptions = 0;
            if (interruptions++ > 1) return ::send(socket, bytes, size, flags);
            errno = EINTR;
            return -1;
        };
    });
    EXPECT_EQ(afterText(kPrompt), Outcome::Undecided);
    EXPECT_EQ(given(), "pass word\n");
}

TEST_F(PolkitConversationTest, FailsWhenItBreaks) {
    {
        const test::ChangedCalls changed([](posix::SystemCalls& calls) {
            calls.send = [](int, const void*, std::size_t, int) -> ssize_t {
                errno = ENOMEM;
                return -1;
            };
        });
        EXPECT_EQ(afterText(kPrompt), Outcome::Failed);
    }
    test::Connection connection;
    PolkitConversation conversation(std::move(connection.first), nullptr, "pass word");
    const test::ChangedCalls changed([](posix::SystemCalls& calls) {
        calls.recv = [](int, void*, std::size_t, int) -> ssize_t {
            errno = ENOMEM;
            return -1;
        };
    });
    EXPECT_EQ(conversation.proceed(), Outcome::Failed);
}

TEST_F(PolkitConversationTest, DoesNotAnswerAnotherPrompt) {
    for (const char* text : {"PAM_PROMPT_ECHO_ON One-time code: \n", "PAM_PROMPT_ECHO_OFFLINE \n",
                             "Password: \n", "\n", "SUCCESS \n", " SUCCESS\n"}) {
        test::Connection connection;
        PolkitConversation conversation(std::move(connection.first), nullptr, "pass word");
        ASSERT_GT(::send(connection.second.get(), text, std::string(text).size(), 0), 0);
        EXPECT_EQ(conversation.proceed(), Outcome::Refused) << text;
        char byte = 0;
        EXPECT_LE(::recv(connection.second.get(), &byte, 1, MSG_DONTWAIT), 0) << text;
        EXPECT_FALSE(conversation.wasAsked()) << text;
    }
}

TEST_F(PolkitConversationTest, UnderstandsTextInPieces) {
    for (const char letter : std::string(kPrompt)) {
        EXPECT_EQ(given(), "");
        ASSERT_EQ(afterText({&letter, 1}), Outcome::Undecided);
    }
    EXPECT_EQ(given(), "pass word\n");
    EXPECT_EQ(afterText("SUCC"), Outcome::Undecided);
    EXPECT_EQ(afterText("ESS\n"), Outcome::Granted);
}

TEST_F(PolkitConversationTest, FailsWhenTheProgramEndsBeforeItAsks) {
    program_.reset();
    EXPECT_EQ(conversation_.proceed(), Outcome::Failed);
}

TEST_F(PolkitConversationTest, IsRefusedWhenTheProgramEndsAfterItAsked) {
    afterText(kPrompt);
    EXPECT_EQ(given(), "pass word\n");
    program_.reset();
    EXPECT_EQ(conversation_.proceed(), Outcome::Refused);
}

TEST_F(PolkitConversationTest, EndsWithoutASignalWhenTheProgramHasEnded) {
    ::signal(SIGPIPE, SIG_DFL);
    ASSERT_EQ(::send(program_.get(), kPrompt, std::string(kPrompt).size(), 0),
              static_cast<ssize_t>(std::string(kPrompt).size()));
    program_.reset();
    EXPECT_EQ(conversation_.proceed(), Outcome::Refused);
    EXPECT_FALSE(conversation_.say("text"));
}

TEST_F(PolkitConversationTest, IsRefusedAtALineWithoutAnEnd) {
    const std::string piece(16'384, 'x');
    for (int count = 0; count < 4; ++count) ASSERT_EQ(afterText(piece), Outcome::Undecided);
    EXPECT_EQ(afterText("x"), Outcome::Refused);
}

TEST_F(PolkitConversationTest, KeepsItsOutcome) {
    EXPECT_EQ(afterText("SUCCESS\n"), Outcome::Granted);
    EXPECT_EQ(afterText("FAILURE\n"), Outcome::Granted);
}

TEST_F(PolkitConversationTest, SaysTextAsItIs) {
    EXPECT_TRUE(conversation_.say("cookie\n"));
    EXPECT_EQ(given(), "cookie\n");
}

// A descriptor that stays when the child's own is closed.
posix::Descriptor endOf(const LaunchChild& child) {
    return posix::Descriptor(::dup(child.exitDescriptor()));
}

TEST(PolkitConversationsProgram, IsKilledUnlessItHasGranted) {
    for (const char* text : {"", "PAM_PROMPT_ECHO_ON Code: \n"}) {
        test::Connection connection;
        LaunchSetup setup;
        setup.path = "/bin/sleep";
        setup.arguments = {"1000"};
        auto child = LaunchChild::start(setup);
        ASSERT_NE(child, nullptr);
        const posix::Descriptor end = endOf(*child);
        ASSERT_GE(::send(connection.second.get(), text, std::string(text).size(), 0), 0);
        {
            PolkitConversation gone(std::move(connection.first), std::move(child), "x");
            gone.proceed();
            EXPECT_FALSE(isReadable(end.get(), std::chrono::milliseconds(0)));
        }
        EXPECT_TRUE(isReadable(end.get(), std::chrono::seconds(10)));
    }
}

TEST(PolkitConversationsProgram, EndsByItselfOnceItHasGranted) {
    test::Connection connection;
    Pipe output = Pipe::open();
    LaunchSetup setup;
    setup.path = "/bin/sh";
    setup.arguments = {"-c", "read line; sleep 0.1; echo ended by itself"};
    setup.descriptors = {connection.second.get(), output.write.get(), -1, -1};
    auto child = LaunchChild::start(setup);
    ASSERT_NE(child, nullptr);
    output.write.reset();
    {
        PolkitConversation granted(std::move(connection.first), std::move(child), "x");
        ASSERT_EQ(::send(connection.second.get(), "SUCCESS\n", 8, 0), 8);
        ASSERT_EQ(granted.proceed(), Outcome::Granted);
    }
    // The test holds the program's end of the socket as well: it was shut down, not only closed.
    EXPECT_EQ(readPiece(output.read.get()), "ended by itself\n");
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
