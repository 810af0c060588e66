// polkit's requests to an authentication agent.
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quillmoor/platform/linux/authorization/polkit/sd_bus_linux.h"

namespace quillmoor::platform::linux_::authorization {

struct AgentRequest {
    std::string action;
    std::string cookie;  // identifies the request
    // Among them "polkit.caller-pid", the process that asked polkit, and "polkit.subject-pid", the
    // one that is to be authorized.
    std::map<std::string, std::string> details;
    std::vector<uid_t> users;  // who may authenticate
};

// Reads the arguments of a BeginAuthentication call; nil when they are not of that form.
std::optional<AgentRequest> readAgentRequest(const SdBus& bus, sd_bus_message* call);

// True for the request that `launcher`, a child of this process, makes to run a program as root, if
// `user` may allow it. polkit also sends requests of other processes here that name this process as
// their subject: answering one would authorize what that process asked for.
bool isForLauncher(const AgentRequest& request, pid_t launcher, uid_t user);

}  // namespace quillmoor::platform::linux_::authorization
