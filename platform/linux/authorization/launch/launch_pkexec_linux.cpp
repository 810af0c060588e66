#include "quillmoor/platform/linux/authorization/launch/launch_pkexec_linux.h"

#include <string>
#include <utility>

#include "quillmoor/platform/linux/authorization/launch/launch_programs_linux.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// pkexec(1): 126 when the dialog was dismissed. All other failures are 127, and differ by their
// text only.
constexpr int kDismissedCode = 126;

// By the text as well, since the host may have collected the status.
bool wasDismissed(const LaunchAttempt& attempt) {
    return attempt.end && (attempt.end->code == kDismissedCode || attempt.end->signal ||
                           attempt.complaint.find("Request dismissed") != std::string::npos);
}

PkexecEnd classify(const LaunchAttempt& attempt) {
    const auto says = [&](const char* text) {
        return attempt.complaint.find(text) != std::string::npos;
    };
    if (wasDismissed(attempt)) return PkexecEnd::Dismissed;
    if (says("Error getting authority")) return PkexecEnd::NoAuthority;
    if (says("No authentication agent")) return PkexecEnd::NoAgent;
    if (says("must be setuid root")) return PkexecEnd::Confined;
    return PkexecEnd::Refused;
}

}  // namespace

PkexecEnd runPkexec(Rendezvous& rendezvous, std::optional<Channel>& channel,
                    Conversation* conversation) {
    const OptionalPath program = systemProgram(kPkexec);
    if (!program) return PkexecEnd::NoAuthority;
    Pipe errors = Pipe::open();
    LaunchSetup setup;
    setup.path = *program;
    // pkexec's internal agent fails in several versions.
    setup.arguments = {"--disable-internal-agent"};
    for (std::string& argument : rendezvous.helperCommand())
        setup.arguments.push_back(std::move(argument));
    setup.environment = plainEnvironment();
    setup.descriptors[2] = errors.write.get();
    const std::unique_ptr<LaunchChild> launcher = LaunchChild::start(setup);
    // Otherwise the pipe would not end with the launcher.
    errors.write.reset();
    if (!launcher) return PkexecEnd::Refused;

    LaunchAttempt attempt = waitForHelper(&rendezvous, *launcher, errors.read, conversation);
    if (!attempt.channel) return classify(attempt);
    channel = std::move(attempt.channel);
    return PkexecEnd::Helped;
}

}  // namespace quillmoor::platform::linux_::authorization
