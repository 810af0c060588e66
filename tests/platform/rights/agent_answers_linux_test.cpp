#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <string>

#include "platform/linux/rights/agent_linux.h"
#include "platform/posix/descriptor.h"

namespace quillmoor::platform::linux_::rights {
namespace {

constexpr char kList[] =
    "==== AUTHENTICATING FOR com.quillmoor.rights ====\r\n"
    "Multiple identities can be used for authentication:\r\n"
    " 1.  kxadmin\r\n"
    " 2.  Ann B. (kxuser) Admin (kxann)\r\n"
    " 3.  kxfree\r\n";
constexpr char kChoose[] = "Choose identity to authenticate as (1-3): ";
constexpr char kPrompt[] = "Password: ";

// The test shows what the agent would, and sees what is typed.
class AgentAnswersTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(terminal_.has_value());
        agent_ = posix::Descriptor(
            ::open(terminal_->name().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
        ASSERT_TRUE(agent_);
    }
    AgentAnswers answersOf(const std::string& user) { return {*terminal_, user, "pass word"}; }
    // As the agent does it: what was typed before is thrown away.
    void hideTyping() {
        termios settings{};
        ASSERT_EQ(::tcgetattr(agent_.get(), &settings), 0);
        settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ASSERT_EQ(::tcsetattr(agent_.get(), TCSAFLUSH, &settings), 0);
    }
    std::string typed() {
        char line[256];
        const ssize_t count = ::read(agent_.get(), line, sizeof line);
        return count > 0 ? std::string(line, static_cast<std::size_t>(count)) : "";
    }

    std::optional<PseudoTerminal> terminal_ = PseudoTerminal::open();
    posix::Descriptor agent_;
};

TEST_F(AgentAnswersTest, TypeThePasswordOfTheOnlyIdentity) {
    AgentAnswers answers = answersOf("kxadmin");
    hideTyping();
    EXPECT_TRUE(answers.hear("Authenticating as: kxadmin\r\n"));
    EXPECT_FALSE(answers.wasAsked());
    EXPECT_TRUE(answers.hear(kPrompt));
    EXPECT_EQ(typed(), "pass word\n");
    EXPECT_TRUE(answers.wasAsked());
}

TEST_F(AgentAnswersTest, TypeNothingForAnotherIdentity) {
    AgentAnswers answers = answersOf("kxadmin");
    hideTyping();
    EXPECT_FALSE(answers.hear("Authenticating as: Ann (kxadmin) (kxann)\r\nPassword: "));
    EXPECT_EQ(typed(), "");
    EXPECT_FALSE(answers.wasAsked());
}

TEST_F(AgentAnswersTest, ChooseAmongSeveralByTheLoginName) {
    AgentAnswers answers = answersOf("kxann");
    EXPECT_TRUE(answers.hear(std::string(kList) + kChoose));
    EXPECT_EQ(typed(), "2\n");
    EXPECT_FALSE(answers.wasAsked());
    hideTyping();
    EXPECT_TRUE(answers.hear(kPrompt));
    EXPECT_EQ(typed(), "pass word\n");
}

TEST_F(AgentAnswersTest, GiveUpWhereTheUserIsNotAmongThem) {
    for (const char* user : {"kxuser", "Ann B. (kxuser) Admin (kxann)", "kxad", ""}) {
        AgentAnswers answers = answersOf(user);
        EXPECT_FALSE(answers.hear(std::string(kList) + kChoose)) << user;
    }
    EXPECT_EQ(typed(), "");
}

TEST_F(AgentAnswersTest, GiveUpWhereThereIsNothingToChooseFrom) {
    AgentAnswers answers = answersOf("kxadmin");
    EXPECT_FALSE(answers.hear(kChoose));
    EXPECT_EQ(typed(), "");
}

TEST_F(AgentAnswersTest, TypeNoPasswordWhileTypingIsShown) {
    AgentAnswers answers = answersOf("kxadmin");
    EXPECT_TRUE(answers.hear("Authenticating as: kxadmin\r\nPassword: "));
    for (int tick = 0; tick < 1000; ++tick) ASSERT_TRUE(answers.hear(""));
    EXPECT_EQ(typed(), "");
    EXPECT_FALSE(answers.wasAsked());
    hideTyping();
    EXPECT_TRUE(answers.hear(""));
    EXPECT_EQ(typed(), "pass word\n");
}

TEST_F(AgentAnswersTest, UnderstandTextThatComesInPieces) {
    AgentAnswers answers = answersOf("kxfree");
    const std::string question = std::string(kList) + kChoose;
    for (const char letter : question.substr(0, question.size() - 1))
        ASSERT_TRUE(answers.hear(std::string(1, letter)));
    EXPECT_EQ(typed(), "");
    EXPECT_TRUE(answers.hear(" "));
    EXPECT_EQ(typed(), "3\n");
    hideTyping();
    for (const char letter : std::string("Passwor")) ASSERT_TRUE(answers.hear({&letter, 1}));
    EXPECT_EQ(typed(), "");
    EXPECT_TRUE(answers.hear("d: "));
    EXPECT_EQ(typed(), "pass word\n");
}

TEST_F(AgentAnswersTest, GiveUpWhenSomethingElseIsAskedFor) {
    AgentAnswers answers = answersOf("kxadmin");
    hideTyping();
    EXPECT_TRUE(answers.hear("Authenticating as: kxadmin\r\nOne-time code: "));
    int ticks = 0;
    while (ticks < 10'000 && answers.hear("")) ++ticks;
    EXPECT_GT(ticks, 100);
    EXPECT_LT(ticks, 1000);
    EXPECT_EQ(typed(), "");
    EXPECT_FALSE(answers.wasAsked());
}

TEST_F(AgentAnswersTest, TypeThePasswordOnce) {
    AgentAnswers answers = answersOf("kxadmin");
    hideTyping();
    EXPECT_TRUE(answers.hear("Authenticating as: kxadmin\r\nPassword: "));
    EXPECT_EQ(typed(), "pass word\n");
    EXPECT_TRUE(answers.hear("\r\n"));
    EXPECT_FALSE(answers.hear("Password: "));
    EXPECT_EQ(typed(), "");
}

TEST_F(AgentAnswersTest, GiveUpAtTextWithoutAnEnd) {
    AgentAnswers answers = answersOf("kxadmin");
    EXPECT_TRUE(answers.hear(std::string(65'536, 'x')));
    EXPECT_FALSE(answers.hear("Authenticating as: kxadmin\r\n"));
    EXPECT_EQ(typed(), "");
}

}  // namespace
}  // namespace quillmoor::platform::linux_::rights
