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

// Authentication modules take no more.
constexpr std::size_t kLongestPassword = 511;

// nil for a user that nobody has to be asked about: none has such a name.
std::optional<posix::User> knownUser(std::string_view name) {
    if (name.empty() || name.front() == '-') return std::nullopt;
    return posix::userWithName(std::string(name));
}

// nil where there is no polkit, or nothing to answer it with.
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
    // Without an agent of ours the user's would ask.
    if (agent.state() != PolkitAgent::State::Registered) return kAuthorizationInteractionNotAllowed;

    const PkexecEnd end = runPkexec(rendezvous, channel, &agent);
    wasAsked = agent.wasAsked();
    if (end == PkexecEnd::Helped) return kAuthorizationSuccess;
    // A refused password is not given to another program.
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

    const LaunchTurn turn;
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

}  // namespace quillmoor::platform::linux_::authorization
