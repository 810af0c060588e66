#include "quillmoor/platform/linux/authorization/polkit/agent_request_linux.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace quillmoor::platform::linux_::authorization {
namespace {

// pkexec's own action, and the one that the installed policy has for the helper.
constexpr std::string_view kGeneralAction = "org.freedesktop.policykit.exec";
constexpr std::string_view kOwnAction = "com.quillmoor.rights";

bool readDetails(const SdBus& bus, sd_bus_message* call, AgentRequest& request) {
    if (bus.enterContainer(call, 'a', "{ss}") <= 0) return false;
    const char* name = nullptr;
    const char* value = nullptr;
    int more = 0;
    while ((more = bus.read(call, "{ss}", &name, &value)) > 0) request.details.emplace(name, value);
    return more == 0 && bus.exitContainer(call) >= 0;
}

// One "sv" of an identity; only a user's id is used.
bool readIdentityValue(const SdBus& bus, sd_bus_message* call, std::optional<uid_t>& user) {
    const char* name = nullptr;
    if (bus.read(call, "s", &name) <= 0) return false;
    if (std::string_view(name) != "uid") return bus.skip(call, "v") >= 0;
    std::uint32_t id = 0;
    if (bus.read(call, "v", "u", &id) <= 0) return false;
    user = id;
    return true;
}

bool readIdentity(const SdBus& bus, sd_bus_message* call, AgentRequest& request) {
    const char* kind = nullptr;
    std::optional<uid_t> user;
    if (bus.read(call, "s", &kind) <= 0 || bus.enterContainer(call, 'a', "{sv}") <= 0) return false;
    int more = 0;
    while ((more = bus.enterContainer(call, 'e', "sv")) > 0)
        if (!readIdentityValue(bus, call, user) || bus.exitContainer(call) < 0) return false;
    if (more < 0 || bus.exitContainer(call) < 0) return false;
    // Groups and other kinds of identities are left out: credentials are a user's.
    if (user && std::string_view(kind) == "unix-user") request.users.push_back(*user);
    return true;
}

bool readIdentities(const SdBus& bus, sd_bus_message* call, AgentRequest& request) {
    if (bus.enterContainer(call, 'a', "(sa{sv})") <= 0) return false;
    int more = 0;
    // 0 is the end of the array, a negative number an error.
    while ((more = bus.enterContainer(call, 'r', "sa{sv}")) > 0)
        if (!readIdentity(bus, call, request) || bus.exitContainer(call) < 0) return false;
    return more == 0 && bus.exitContainer(call) >= 0;
}

// Details are texts, also where they are numbers of processes.
bool names(const AgentRequest& request, const char* detail, pid_t process) {
    const auto found = request.details.find(detail);
    return found != request.details.end() && found->second == std::to_string(process);
}

}  // namespace

std::optional<AgentRequest> readAgentRequest(const SdBus& bus, sd_bus_message* call) {
    AgentRequest request;
    const char* action = nullptr;
    const char* cookie = nullptr;
    if (bus.read(call, "s", &action) <= 0) return std::nullopt;
    request.action = action;
    // The message and the icon are for a dialog.
    if (bus.skip(call, "ss") < 0 || !readDetails(bus, call, request) ||
        bus.read(call, "s", &cookie) <= 0)
        return std::nullopt;
    request.cookie = cookie;
    if (!readIdentities(bus, call, request)) return std::nullopt;
    return request;
}

bool isForLauncher(const AgentRequest& request, pid_t launcher, uid_t user) {
    return (request.action == kOwnAction || request.action == kGeneralAction) &&
           names(request, "polkit.caller-pid", launcher) &&
           names(request, "polkit.subject-pid", ::getpid()) &&
           std::find(request.users.begin(), request.users.end(), user) != request.users.end();
}

}  // namespace quillmoor::platform::linux_::authorization
