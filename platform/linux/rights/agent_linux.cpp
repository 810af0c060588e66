#include "platform/linux/rights/agent_linux.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/rights/launch_programs_linux.h"
#include "platform/linux/small_file_linux.h"
#include "platform/posix/system_calls_posix.h"

namespace quillmoor::platform::linux_::rights {
namespace {

constexpr std::chrono::milliseconds kRegistrationTimeout{10'000};
constexpr std::chrono::milliseconds kEndTimeout{1000};
constexpr int kNotifyDescriptor = 3;

// "PID,START": names this process also when its number is given out anew.
OptionalString ownProcess() {
    constexpr int kStartTime = 22;  // counted from 1, as proc(5) does
    constexpr std::size_t kLimit = 4096;
    const OptionalString status = readSmallFile("/proc/self/stat", kLimit);
    if (!status) return std::nullopt;
    std::size_t at = status->rfind(')');  // the second field may hold anything
    for (int field = 2; field < kStartTime && at != std::string::npos; ++field)
        at = status->find(' ', at + 1);
    if (at == std::string::npos) return std::nullopt;
    const std::size_t end = status->find(' ', at + 1);
    return std::to_string(::getpid()) + "," + status->substr(at + 1, end - at - 1);
}

// What it says where there is no polkit; the first one in older versions.
bool tellsOfNoAuthority(const std::string& complaint) {
    for (const char* text : {"Error getting authority", "Authorization not available"})
        if (complaint.find(text) != std::string::npos) return true;
    return false;
}

bool isReadable(int descriptor, std::chrono::milliseconds timeout) {
    pollfd polled{descriptor, POLLIN, 0};
    int count = 0;
    do count = posix::systemCalls().poll(&polled, 1, static_cast<int>(timeout.count()));
    while (count < 0 && errno == EINTR);
    return count > 0;
}

}  // namespace

Agent Agent::onOwnTerminal() {
    Agent agent;
    LaunchSetup setup;
    setup.environment = userEnvironment();
    agent.start(std::move(setup));
    return agent;
}

Agent Agent::on(const PseudoTerminal& terminal) {
    Agent agent;
    LaunchSetup setup;
    setup.environment = plainEnvironment();
    setup.terminal = terminal.name();
    agent.start(std::move(setup));
    return agent;
}

// Polkit learns of the end once the agent's descriptors are closed, and until then asks it instead
// of the next one.
Agent::~Agent() {
    if (!child_) return;
    child_->kill();
    isReadable(child_->exitDescriptor(), kEndTimeout);
}

void Agent::start(LaunchSetup setup) {
    const OptionalPath program = systemProgram(kAgent);
    const OptionalString process = ownProcess();
    Pipe notice = Pipe::open();
    Pipe errors = Pipe::open();
    if (!program || !process || !notice.read || !errors.read) return;

    setup.path = *program;
    for (const std::string& argument :
         {std::string("--process"), *process, std::string("--notify-fd"),
          std::to_string(kNotifyDescriptor)})
        setup.arguments.push_back(argument);
    setup.descriptors[2] = errors.write.get();
    setup.descriptors[kNotifyDescriptor] = notice.write.get();
    child_ = LaunchChild::start(setup);
    notice.write.reset();
    errors.write.reset();
    errors_ = std::move(errors.read);
    if (!child_ || !isReadable(notice.read.get(), kRegistrationTimeout)) return;

    // The notice ends when the agent is registered, and when it ends itself, for whatever reason.
    const bool isEnding = child_->isEnding();
    std::string complaint;
    while (isReadable(errors_.get(), std::chrono::milliseconds(0))) {
        const std::optional<std::string> piece = readPiece(errors_.get());
        if (!piece) break;
        complaint += *piece;
    }
    if (tellsOfNoAuthority(complaint))
        state_ = State::NoAuthority;
    else if (complaint.find("already exists") != std::string::npos)
        state_ = State::Taken;
    else if (!isEnding && complaint.find("Error") == std::string::npos)
        state_ = State::Registered;
}

}  // namespace quillmoor::platform::linux_::rights
