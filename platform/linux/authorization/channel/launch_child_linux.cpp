#include "quillmoor/platform/linux/authorization/channel/launch_child_linux.h"

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/peer_linux.h"
#include "quillmoor/platform/posix/ground/c_strings_posix.h"
#include "quillmoor/platform/posix/ground/small_file_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/child_reaper_posix.h"
#include "quillmoor/platform/posix/process/child_system_posix.h"
#include "quillmoor/platform/posix/process/spawn_setup_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::CStrings;
using posix::Descriptor;

constexpr int kLastStream = 2;

// In rising order, with sources above 2: no duplication overwrites the source of a later one.
void setDescriptors(posix::SpawnActions& actions, const LaunchSetup& setup) {
    int last = kLastStream;
    for (int number = 0; number < static_cast<int>(setup.descriptors.size()); ++number) {
        const int source = setup.descriptors[static_cast<std::size_t>(number)];
        if (source >= 0) {
            actions.duplicate(source, number);
            last = std::max(last, number);
        } else if (number <= kLastStream) {
            actions.open(number, posix::kNullDevice);
        }
    }
    // su closes no descriptors, so what the host has left open would reach root's programs.
    actions.note(::posix_spawn_file_actions_addclosefrom_np(actions.get(), last + 1));
}

void waitFor(const Descriptor& exit, pid_t pid) {
    siginfo_t info{};
    while (posix::waitForChild(exit, pid, &info, WEXITED) != 0 && errno == EINTR) {
    }
}

}  // namespace

std::unique_ptr<LaunchChild> LaunchChild::start(const LaunchSetup& setup) {
    CStrings arguments;
    arguments.add(setup.path);
    for (const std::string& argument : setup.arguments) arguments.add(argument);
    CStrings environment;
    environment.add(setup.environment);
    posix::SpawnActions actions;
    setDescriptors(actions, setup);
    const posix::SpawnAttributes attributes(posix::SpawnSession::Inherited);
    if (actions.error() != 0 || attributes.error() != 0) return nullptr;
    // Before the start: once the program runs, an exception would leave it without an owner.
    std::unique_ptr<LaunchChild> child(new LaunchChild);

    pid_t pid = -1;
    if (posix::systemCalls().posix_spawn(&pid, setup.path.c_str(), actions.get(), attributes.get(),
                                         arguments.get(), environment.get()) != 0)
        return nullptr;
    Descriptor exit = posix::openExitDescriptor(pid);
    if (!exit) {
        // A setuid program that runs as root already cannot be killed by this user.
        if (posix::systemCalls().kill(pid, SIGKILL) == 0)
            waitFor(exit, pid);
        else
            child->leaveToReaper(pid, std::move(exit));
        return nullptr;
    }
    child->pid_ = pid;
    child->exit_ = std::move(exit);
    return child;
}

// A helper may be its child or the program itself, so it is not ended here.
LaunchChild::~LaunchChild() {
    if (pid_ > 0 && !end()) leaveToReaper(pid_, std::move(exit_));
}

void LaunchChild::leaveToReaper(pid_t pid, Descriptor exit) noexcept {
    abandoned_->adopt(pid, std::move(exit));
    posix::reapLater(std::move(abandoned_));
}

bool LaunchChild::isRunning() const {
    return !hasEnded(exit_);
}

std::optional<LaunchEnd> LaunchChild::end() {
    if (end_) return end_;
    siginfo_t info{};
    int result = 0;
    do result = posix::waitForChild(exit_, pid_, &info, WEXITED | WNOHANG);
    while (result != 0 && errno == EINTR);
    if (result == 0 && info.si_pid == 0) return std::nullopt;
    end_.emplace();
    // Otherwise ECHILD: the status is lost, and both stay nil.
    if (result == 0) (info.si_code == CLD_EXITED ? end_->code : end_->signal) = info.si_status;
    return end_;
}

bool LaunchChild::isEnding() const {
    constexpr std::size_t kLimit = 65536;
    const auto command = posix::readSmallFile("/proc/" + std::to_string(pid_) + "/cmdline", kLimit);
    // The command line is in the process's memory (proc(5)), so it is empty once that is released.
    return !command || command->empty();
}

void LaunchChild::kill() {
    if (!end()) posix::signalChild(exit_, pid_, SIGKILL);
}

}  // namespace quillmoor::platform::linux_::authorization
