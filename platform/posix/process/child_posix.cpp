#include "quillmoor/platform/posix/process/child_posix.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include "quillmoor/platform/posix/ground/c_strings_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/child_system_posix.h"
#include "quillmoor/platform/posix/process/spawn_setup_posix.h"

namespace quillmoor::platform::posix {
namespace {

CStrings argumentList(const ChildSetup& setup) {
    CStrings list;
    list.add(setup.path);
    for (const std::string& argument : setup.arguments) list.add(argument);
    return list;
}

// A stream that the host has closed becomes the null device: otherwise the first file that the tool
// opens would get its number. One that is close-on-exec is inherited all the same: duplicated onto
// itself it loses that flag.
void inheritStream(SpawnActions& actions, int number) {
    const int flags = systemCalls().fcntl(number, F_GETFD, 0);
    if (flags < 0)
        actions.open(number, kNullDevice);
    else if ((flags & FD_CLOEXEC) != 0)
        actions.duplicate(number, number);
}

void setStream(SpawnActions& actions, int number, const ChildStream& stream) {
    switch (stream.kind) {
        case ChildStream::Kind::Inherited:
            return inheritStream(actions, number);
        case ChildStream::Kind::NullDevice:
            return actions.open(number, kNullDevice);
        case ChildStream::Kind::Descriptor:
            // The library's descriptors are above 2, so no duplication overwrites the source of a
            // later one.
            return actions.duplicate(stream.descriptor, number);
    }
}

// macOS can also report a child that was only stopped. Before the next look at such a one:
constexpr std::chrono::milliseconds kPause{10};

bool hasEnded(const siginfo_t& info) {
    return info.si_code == CLD_EXITED || info.si_code == CLD_KILLED || info.si_code == CLD_DUMPED;
}

}  // namespace

std::shared_ptr<Child> Child::start(const ChildSetup& setup) {
    CStrings arguments = argumentList(setup);
    CStrings environment;
    if (setup.environment) environment.add(*setup.environment);
    if (!arguments.valid() || !environment.valid()) return nullptr;
    SpawnActions actions;
    for (int number = 0; number < 3; ++number)
        setStream(actions, number, setup.streams[static_cast<std::size_t>(number)]);
    SpawnAttributes attributes(SpawnSession::Inherited);
    actions.note(closeAllButStandardStreams(actions.get(), attributes.get()));
    if (actions.error() != 0 || attributes.error() != 0) return nullptr;

    // Before the start: afterwards a lack of memory would leave a child that is never collected.
    auto child = std::make_shared<Child>();
    if (systemCalls().posix_spawn(&child->pid_, setup.path.c_str(), actions.get(), attributes.get(),
                                  arguments.get(),
                                  setup.environment ? environment.get() : ownEnvironment()) != 0)
        return nullptr;
    child->exit_ = openExitDescriptor(child->pid_);
    return child;
}

void Child::adopt(pid_t pid, Descriptor exit) noexcept {
    pid_ = pid;
    exit_ = std::move(exit);
}

bool Child::collectIfEnded() {
    if (status_) return true;
    // All zero before the call: waitid(2) also succeeds while the child runs.
    siginfo_t info{};
    int result = 0;
    do result = waitForChild(exit_, pid_, &info, WEXITED | WNOHANG);
    while (result != 0 && errno == EINTR);
    if (result == 0 && !hasEnded(info)) return false;
    // si_status is the exit status, or the number of the signal that ended the child. An error is
    // ECHILD: the host ignores SIGCHLD, or has collected a child that is not its own.
    status_ = result == 0 ? info.si_status : kUnknownStatus;
    return true;
}

bool Child::isRunning() {
    const std::lock_guard lock(mutex_);
    return !collectIfEnded();
}

// The lock is not held during the wait, which only observes the end: other threads may terminate
// the child meanwhile.
void Child::wait() {
    // A wait that a signal interrupts has observed nothing.
    do {
        siginfo_t info{};
        const int result = waitForChild(exit_, pid_, &info, WEXITED | WNOWAIT);
        if (result == 0 && !hasEnded(info)) std::this_thread::sleep_for(kPause);
    } while (isRunning());
}

std::optional<int> Child::status() {
    const std::lock_guard lock(mutex_);
    collectIfEnded();
    return status_;
}

void Child::terminate() {
    send(SIGTERM);
}

void Child::interrupt() {
    send(SIGINT);
}

void Child::send(int signal) {
    const std::lock_guard lock(mutex_);
    if (!collectIfEnded()) signalChild(exit_, pid_, signal);
}

}  // namespace quillmoor::platform::posix
