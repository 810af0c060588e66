
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "platform/linux/rights/agent_linux.h"
#include "platform/linux/rights/launch_pkexec_linux.h"
#include "platform/linux/rights/launch_programs_linux.h"
#include "platform/linux/rights/launch_sudo_linux.h"
#include "platform/linux/rights/launchers_linux.h"
#include "platform/linux/rights/pseudo_terminal_linux.h"
#include "platform/posix/users_posix.h"

namespace quillmoor::platform::linux_::rights {
namespace {

// Authentication modules take no more.
constexpr std::size_t kLongestPassword = 511;

// nil for a user that nobody has to be asked about: none has such a name.
std::optional<posix::User> knownUser(std::string_view name) {
    if (name.empty() || name.front() == '-') return std::nullopt;
    return posix::userWithName(std::string(name));
}

// How long polkit may take to notice the end of an agent.
constexpr std::chrono::milliseconds kForgetting{2000};
constexpr std::chrono::milliseconds kBetweenAttempts{20};

struct PrivateAgent {
    PseudoTerminal terminal;
    Agent agent;
};

// Each attempt has a terminal of its own: it is of no use once the program on it has ended. nil
// where the system has none to give.
std::optional<PrivateAgent> openAgent() {
    const auto limit = std::chrono::steady_clock::now() + kForgetting;
    while (true) {
        std::optional<PseudoTerminal> terminal = PseudoTerminal::open();
        if (!terminal) return std::nullopt;
        Agent agent = Agent::on(*terminal);
        if (agent.state() != Agent::State::Taken || std::chrono::steady_clock::now() > limit)
            return PrivateAgent{*std::move(terminal), std::move(agent)};
        std::this_thread::sleep_for(kBetweenAttempts);
    }
}

// nil where there is no polkit.
std::optional<AuthorizationStatus> launchWithPolkit(Rendezvous& rendezvous, const posix::User& user,
                                                    std::string_view password,
                                                    std::optional<Channel>& channel,
                                                    bool& wasAsked) {
    if (!systemProgram(kPkexec) || !systemProgram(kAgent)) return std::nullopt;
    const std::optional<PrivateAgent> ours = openAgent();
    if (!ours) return kAuthorizationInternal;
    if (ours->agent.state() == Agent::State::NoAuthority) return std::nullopt;
    // Without an agent of ours the user's would ask.
    if (ours->agent.state() != Agent::State::Registered) return kAuthorizationInteractionNotAllowed;

    AgentAnswers answers(ours->terminal, user.name, password);
    const PkexecEnd end = runPkexec(rendezvous, channel, &answers);
    wasAsked = answers.wasAsked();
    if (end == PkexecEnd::NoAuthority) return std::nullopt;
    return end == PkexecEnd::Helped ? kAuthorizationSuccess : kAuthorizationDenied;
}

}  // namespace

AuthorizationStatus launchWithCredentials(Rendezvous& rendezvous, std::string_view userName,
                                          std::string_view password,
                                          std::optional<Channel>& channel) {
    if (isConfined()) return kAuthorizationInteractionNotAllowed;
    if (rendezvous.helperCommand().empty()) return kAuthorizationInternal;
    const std::optional<posix::User> user = knownUser(userName);
    if (!user || password.size() > kLongestPassword) return kAuthorizationDenied;

    bool wasAsked = false;
    std::optional<Channel> helper;
    std::optional<AuthorizationStatus> status =
        launchWithPolkit(rendezvous, *user, password, helper, wasAsked);
    if (!status) status = launchWithPassword(rendezvous, *user, password, helper, wasAsked);
    // The system lets this process do anything unasked. What was given still has to be right.
    if (status == kAuthorizationSuccess && !wasAsked && !isPasswordOf(*user, password))
        status = kAuthorizationDenied;
    if (status == kAuthorizationSuccess) channel = std::move(helper);
    return *status;
}

}  // namespace quillmoor::platform::linux_::rights
