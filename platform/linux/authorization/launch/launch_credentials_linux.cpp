#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "quillmoor/platform/linux/authorization/launch/launch_pkexec_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launch_programs_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launch_sudo_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launch_turn_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launchers_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/polkit_agent_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/polkit_helper_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/sd_bus_linux.h"
#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// Authentication modules accept no more. PAM_MAX_RESP_SIZE is 512 with the NUL; what is beyond
// would be taken for the answer to the next prompt.
constexpr std::size_t kLongestPassword = 511;

// nil for an unknown user, also for a name that a program could take for an option: no password is
// tried then.
std::optional<posix::User> knownUser(std::string_view name) {
    if (name.empty() || name.front() == '-') return std::nullopt;
    return posix::userWithName(std::string(name));
}

// nil where there is no polkit, or no program that could check the password for it.
std::optional<AuthorizationStatus> launchWithPolkit(Rendezvous& rendezvous, const posix::User& user,
                                                    std::string_view password,
                                                    std::optional<Channel>& channel,
                                                    bool& wasAsked) {
    const SdBus* const bus = sdBus();
    const PolkitHelper helper = PolkitHelper::ofSystem();
    if (!systemProgram(kPkexec) || bus == nullptr || !helper.exists()) return std::nullopt;
    PolkitAgent agent(*bus, kSystemBusAddress, user.id, [&](const std::string& cookie) {
        return helper.start(user.name, cookie, password);
    });
    if (agent.state() == PolkitAgent::State::NoAuthority) return std::nullopt;
    // Without our own agent polkit would use the session's, which would ask the user.
    if (agent.state() != PolkitAgent::State::Registered) return kAuthorizationInteractionNotAllowed;

    const PkexecEnd end = runPkexec(rendezvous, channel, &agent);
    wasAsked = agent.wasAsked();
    if (end == PkexecEnd::Helped) return kAuthorizationSuccess;
    // A password that was refused is not tried with another program: failures are counted.
    if (end == PkexecEnd::NoAuthority && !wasAsked) return std::nullopt;
    if (agent.hasFailed()) return kAuthorizationInteractionNotAllowed;
    return end == PkexecEnd::Dismissed ? kAuthorizationCanceled : kAuthorizationDenied;
}

}  // namespace

AuthorizationStatus launchWithCredentials(Rendezvous& rendezvous, std::string_view userName,
                                          std::string_view password,
                                          std::optional<Channel>& channel) {
    if (isConfined()) return kAuthorizationInteractionNotAllowed;
    if (rendezvous.helperCommand().empty()) return kAuthorizationInternal;
    const std::optional<posix::User> user = knownUser(userName);
    if (!user || password.size() > kLongestPassword) return kAuthorizationDenied;

    // Before the agent is registered, since a process has one agent at a time.
    const LaunchTurn turn;
    bool wasAsked = false;
    std::optional<Channel> helper;
    std::optional<AuthorizationStatus> status =
        launchWithPolkit(rendezvous, *user, password, helper, wasAsked);
    if (!status) status = launchWithPassword(rendezvous, *user, password, helper, wasAsked);
    // No program asked for the password, by a rule of polkit or of sudo. A wrong one must fail all
    // the same.
    if (status == kAuthorizationSuccess && !wasAsked && !isPasswordOf(*user, password))
        status = kAuthorizationDenied;
    if (status == kAuthorizationSuccess) channel = std::move(helper);
    return *status;
}

}  // namespace quillmoor::platform::linux_::authorization
