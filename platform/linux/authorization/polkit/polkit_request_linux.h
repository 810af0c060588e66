// What polkit asks of an authentication agent.
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quillmoor/platform/linux/authorization/polkit/sd_bus_linux.h"

namespace quillmoor::platform::linux_::authorization {

struct PolkitRequest {
    std::string action;
    std::string cookie;  // what the request is known by
    // Among them "polkit.caller-pid", who asks polkit, and "polkit.subject-pid", for whom.
    std::map<std::string, std::string> details;
    std::vector<uid_t> users;  // who may authenticate
};

// Reads the arguments of a BeginAuthentication call; nil when they are not what such a call has.
std::optional<PolkitRequest> readPolkitRequest(const SdBus& bus, sd_bus_message* call);

// The request that `launcher`, a child of this process, makes to run a program as root, which
// `user` may allow. polkit also sends requests of other processes here, which name this process as
// their subject: to answer one would give this process's rights away.
bool isForLauncher(const PolkitRequest& request, pid_t launcher, uid_t user);

}  // namespace quillmoor::platform::linux_::authorization
