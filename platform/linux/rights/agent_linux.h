// The program that asks for a password on a terminal in polkit's name.
#pragma once

#include <memory>
#include <string_view>

#include "platform/linux/rights/launch_child_linux.h"
#include "platform/linux/rights/launch_wait_linux.h"
#include "platform/linux/rights/pseudo_terminal_linux.h"
#include "platform/linux/rights/secret_linux.h"

namespace quillmoor::platform::linux_::rights {

// Serves this process alone, until the object is gone.
class Agent {
  public:
    enum class State {
        Registered,
        NoAuthority,  // there is no polkit to serve
        Taken,        // polkit has another one for this process, or has not noticed yet its end
        Failed
    };

    // On the user's own terminal, where this process stands in the foreground. For a user whom no
    // other agent serves; it is no fall-back agent, since polkit forgets those outside of login
    // sessions.
    static Agent onOwnTerminal();
    // On a terminal of its own, without translation, and before any other agent.
    static Agent on(const PseudoTerminal& terminal);

    Agent(Agent&&) = default;
    ~Agent();

    State state() const { return state_; }

  private:
    Agent() = default;
    void start(LaunchSetup setup);

    State state_ = State::Failed;
    std::unique_ptr<LaunchChild> child_;
    posix::Descriptor errors_;
};

// Answers an agent with one user's credentials. The password is typed once, only after the agent
// has settled on this very user, and only while what is typed is not shown.
class AgentAnswers : public Conversation {
  public:
    AgentAnswers(const PseudoTerminal& terminal, std::string_view user, std::string_view password)
        : terminal_(terminal), user_(user), line_(password, "\n") {}

    int descriptor() const override { return terminal_.descriptor(); }
    bool hear(std::string_view text) override;

    bool wasAsked() const { return stage_ == Stage::Answered; }

  private:
    enum class Stage { Identity, Password, Answered };

    bool settleIdentity();
    bool chooseIdentity(std::size_t question);
    bool answerPassword();
    bool type(std::string_view line);

    const PseudoTerminal& terminal_;
    std::string user_;
    Secret line_;
    Stage stage_ = Stage::Identity;
    std::string heard_;
    int unclearTicks_ = 0;
};

}  // namespace quillmoor::platform::linux_::rights
