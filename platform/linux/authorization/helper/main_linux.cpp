// quillmoor-rights-helper: starts tools as root for the one process that started it through polkit,
// sudo or su. It serves no other process, listens nowhere, and ends with its client.
#include <sys/auxv.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>

#include "quillmoor/platform/linux/authorization/helper/arguments_linux.h"
#include "quillmoor/platform/linux/authorization/helper/client_linux.h"
#include "quillmoor/platform/linux/authorization/helper/process_hardening_linux.h"
#include "quillmoor/platform/linux/authorization/helper/session_linux.h"
#include "quillmoor/platform/linux/authorization/helper/tool_record_linux.h"

namespace {

namespace helper = quillmoor::platform::linux_::authorization::helper;

enum ExitCode { kServed = 0, kBadArguments = 2, kRefused = 3 };

int refuse(ExitCode code, const char* reason) {
    std::fprintf(stderr, "quillmoor-rights-helper: %s\n", reason);
    return code;
}

// With a setuid bit it would serve any user who starts it.
bool wasStartedAsRoot() {
    return ::getauxval(AT_SECURE) == 0 && ::getuid() == 0 && ::geteuid() == 0;
}

int run(std::span<const char* const> texts) {
    const std::optional<helper::Arguments> arguments = helper::parseArguments(texts);
    if (!arguments) return refuse(kBadArguments, "it is started by other programs only");
    if (!wasStartedAsRoot()) return refuse(kRefused, "not started as root");
    // Before hardenProcess, which clears the environment.
    if (!helper::wasStartedBy(*arguments, std::getenv("PKEXEC_UID")))
        return refuse(kRefused, "not started by the client");
    if (!helper::hardenProcess()) return refuse(kRefused, "the surroundings cannot be left");
    // After it, since it closes all descriptors.
    const std::optional<helper::Client> client = helper::connectToClient(*arguments);
    if (!client) return refuse(kRefused, "the client is not there");
    helper::serve(*client, helper::logTool);
    return kServed;
}

}  // namespace

int main(int count, char** arguments) {
    const std::span<const char* const> all(arguments, static_cast<std::size_t>(count));
    return run(all.subspan(all.empty() ? 0 : 1));
}
