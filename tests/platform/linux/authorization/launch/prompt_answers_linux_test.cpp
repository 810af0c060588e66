#include "quillmoor/platform/linux/authorization/launch/prompt_answers_linux.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>

#include <string>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// The program's standard input is the other end of a connection.
class PromptAnswersTest : public testing::Test {
  protected:
    PromptAnswers answersTo(StringList prompts) {
        return {-1, input_.first.get(), std::move(prompts), "pass word"};
    }
    std::string given() {
        char line[256];
        const ssize_t count = ::recv(input_.second.get(), line, sizeof line, MSG_DONTWAIT);
        return count > 0 ? std::string(line, static_cast<std::size_t>(count)) : "";
    }

    test::Connection input_;
};

TEST_F(PromptAnswersTest, SendThePasswordForThePromptOnly) {
    PromptAnswers answers = answersTo({"kx-1:"});
    EXPECT_TRUE(answers.hear("a lecture, Password: "));
    EXPECT_FALSE(answers.wasAsked());
    EXPECT_EQ(given(), "");
    EXPECT_TRUE(answers.hear("kx-1:"));
    EXPECT_TRUE(answers.wasAsked());
    EXPECT_EQ(given(), "pass word\n");
}

TEST_F(PromptAnswersTest, UnderstandAPromptInPieces) {
    PromptAnswers answers = answersTo({"kx-1:"});
    for (const char* piece : {"k", "x-", "", "1"}) ASSERT_TRUE(answers.hear(piece));
    EXPECT_EQ(given(), "");
    EXPECT_TRUE(answers.hear(": "));
    EXPECT_EQ(given(), "pass word\n");
}

TEST_F(PromptAnswersTest, AnswerSeveralPromptsInTheirOrder) {
    PromptAnswers answers = answersTo({"first:", "second:"});
    EXPECT_TRUE(answers.hear("second:"));
    EXPECT_EQ(given(), "");
    EXPECT_TRUE(answers.hear("first:"));
    EXPECT_EQ(given(), "pass word\n");
    EXPECT_TRUE(answers.hear("second:"));
    EXPECT_EQ(given(), "pass word\n");
}

TEST_F(PromptAnswersTest, AnswerPromptsThatArriveTogether) {
    PromptAnswers answers = answersTo({"first:", "second:"});
    EXPECT_TRUE(answers.hear("first:second:"));
    EXPECT_EQ(given(), "pass word\npass word\n");
}

TEST_F(PromptAnswersTest, AbandonTheLaunchAtARepeatedPrompt) {
    PromptAnswers answers = answersTo({"kx-1:"});
    EXPECT_TRUE(answers.hear("kx-1:"));
    EXPECT_EQ(given(), "pass word\n");
    EXPECT_TRUE(answers.hear("Sorry, try again.\n"));
    EXPECT_FALSE(answers.hear("kx-1:"));
    EXPECT_EQ(given(), "");
}

TEST_F(PromptAnswersTest, KeepWhatIsWrittenAfterTheLastPrompt) {
    PromptAnswers answers = answersTo({"kx-1:"});
    EXPECT_TRUE(answers.hear("before kx-1:after"));
    EXPECT_TRUE(answers.hear(" that"));
    EXPECT_EQ(answers.rest(), "after that");
}

TEST_F(PromptAnswersTest, ReadAvailableTextWithoutWaiting) {
    const test::Connection texts;
    LaunchSetup setup;
    setup.path = "/bin/true";
    const auto launcher = LaunchChild::start(setup);
    ASSERT_NE(launcher, nullptr);
    PromptAnswers answers(texts.first.get(), input_.first.get(), {"kx-1:"}, "pass word");
    EXPECT_TRUE(answers.proceed(*launcher));
    ASSERT_EQ(::send(texts.second.get(), "kx-1:", 5, 0), 5);
    std::vector<pollfd> polled;
    answers.await(polled);
    EXPECT_EQ(::poll(polled.data(), polled.size(), 10'000), 1);
    EXPECT_TRUE(answers.proceed(*launcher));
    EXPECT_EQ(given(), "pass word\n");
    ASSERT_EQ(::send(texts.second.get(), "kx-1:", 5, 0), 5);
    EXPECT_FALSE(answers.proceed(*launcher));
}

TEST_F(PromptAnswersTest, PollNothingAfterTheEndOfTheText) {
    test::Connection texts;
    LaunchSetup setup;
    setup.path = "/bin/true";
    const auto launcher = LaunchChild::start(setup);
    ASSERT_NE(launcher, nullptr);
    PromptAnswers answers(texts.first.get(), input_.first.get(), {"kx-1:"}, "pass word");
    texts.second.reset();
    EXPECT_TRUE(answers.proceed(*launcher));
    std::vector<pollfd> polled;
    answers.await(polled);
    EXPECT_EQ(::poll(polled.data(), polled.size(), 0), 0);
    EXPECT_TRUE(answers.proceed(*launcher));
}

TEST_F(PromptAnswersTest, AbandonTheLaunchAtTextWithoutAnEnd) {
    PromptAnswers answers = answersTo({"kx-1:"});
    EXPECT_TRUE(answers.hear(std::string(65'536, 'x')));
    EXPECT_FALSE(answers.hear("kx-1:"));
    EXPECT_EQ(given(), "");
}

TEST_F(PromptAnswersTest, AbandonTheLaunchWithoutASignalWhenTheProgramHasEnded) {
    ::signal(SIGPIPE, SIG_DFL);
    PromptAnswers answers = answersTo({"kx-1:"});
    input_.second.reset();
    EXPECT_FALSE(answers.hear("kx-1:"));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
