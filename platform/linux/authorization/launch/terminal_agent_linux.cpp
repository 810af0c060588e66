#include "quillmoor/platform/linux/authorization/launch/terminal_agent_linux.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launch_programs_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/own_process_linux.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

constexpr std::chrono::milliseconds kRegistrationTimeout{10'000};
constexpr std::chrono::milliseconds kEndTimeout{1000};
constexpr std::chrono::milliseconds kAtOnce{0};
constexpr int kNotifyDescriptor = 3;

std::string textAt(int descriptor) {
    std::string text;
    while (isReadable(descriptor, kAtOnce)) {
        const std::optional<std::string> piece = readPiece(descriptor);
        if (!piece) break;
        text += *piece;
    }
    return text;
}

}  // namespace

TerminalAgent::TerminalAgent() {
    isRegistered_ = start();
}

// polkit removes the agent once its descriptors are closed, and until then sends it the requests of
// the next one.
TerminalAgent::~TerminalAgent() {
    if (!child_) return;
    child_->kill();
    isReadable(child_->exitDescriptor(), kEndTimeout);
}

bool TerminalAgent::start() {
    const OptionalPath program = systemProgram(kAgent);
    const std::optional<std::uint64_t> startTime = ownStartTime();
    Pipe notice = Pipe::open();
    Pipe errors = Pipe::open();
    if (!program || !startTime || !notice.read || !errors.read) return false;

    LaunchSetup setup;
    setup.path = *program;
    // With the start time, so that the agent is never one for another process that gets this
    // number.
    setup.arguments = {"--process", std::to_string(::getpid()) + "," + std::to_string(*startTime),
                       "--notify-fd", std::to_string(kNotifyDescriptor)};
    setup.environment = userEnvironment();
    setup.descriptors[2] = errors.write.get();
    setup.descriptors[kNotifyDescriptor] = notice.write.get();
    child_ = LaunchChild::start(setup);
    // The agent has the only other end: its closing is what is waited for.
    notice.write.reset();
    errors.write.reset();
    if (!child_ || !isReadable(notice.read.get(), kRegistrationTimeout)) return false;
    // The notice descriptor is closed when the agent is registered, but also whenever it ends.
    return !child_->isEnding() && textAt(errors.read.get()).find("Error") == std::string::npos;
}

}  // namespace quillmoor::platform::linux_::authorization
