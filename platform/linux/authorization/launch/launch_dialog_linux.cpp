#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "quillmoor/platform/linux/authorization/launch/launch_pkexec_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launch_programs_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launch_turn_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launchers_linux.h"
#include "quillmoor/platform/linux/authorization/launch/terminal_agent_linux.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;

// The controlling terminal, while this process is in its foreground. The settings are restored at
// the end: a program that is killed while it asks leaves the echo off.
class OwnTerminal {
  public:
    OwnTerminal()
        : descriptor_(posix::aboveStandardStreams(Descriptor(
              posix::systemCalls().openat(AT_FDCWD, "/dev/tty", O_RDWR | O_NOCTTY, 0)))) {
        // In the background, a program that reads from the terminal would be stopped by SIGTTIN.
        usable_ = descriptor_ && ::tcgetpgrp(descriptor_.get()) == ::getpgrp() &&
                  ::tcgetattr(descriptor_.get(), &settings_) == 0;
    }
    ~OwnTerminal() {
        // In the background tcsetattr(3) would stop this process by SIGTTOU.
        if (usable_ && ::tcgetpgrp(descriptor_.get()) == ::getpgrp())
            ::tcsetattr(descriptor_.get(), TCSANOW, &settings_);
    }
    OwnTerminal(const OwnTerminal&) = delete;
    OwnTerminal& operator=(const OwnTerminal&) = delete;

    // True when there is a terminal and this process is in its foreground.
    bool isUsable() const { return usable_; }
    int descriptor() const { return descriptor_.get(); }

  private:
    Descriptor descriptor_;
    termios settings_{};
    bool usable_ = false;
};

PkexecEnd askOnTerminal(Rendezvous& rendezvous, std::optional<Channel>& channel) {
    const OwnTerminal terminal;
    if (!terminal.isUsable()) return PkexecEnd::NoAgent;
    const TerminalAgent agent;
    if (!agent.isRegistered()) return PkexecEnd::NoAgent;
    return runPkexec(rendezvous, channel, nullptr);
}

// sudo's standard input and output are not the terminal: otherwise it would change the terminal's
// settings when it ends.
AuthorizationStatus askWithSudo(Rendezvous& rendezvous, std::optional<Channel>& channel) {
    const OwnTerminal terminal;
    const OptionalPath program = systemProgram(kSudo);
    if (!terminal.isUsable() || !program) return kAuthorizationInteractionNotAllowed;
    LaunchSetup setup;
    setup.path = *program;
    // -k: an earlier authentication is not reused, so the user is asked each time.
    setup.arguments = {"-k", "-u", "root", "--"};
    for (std::string& argument : rendezvous.helperCommand())
        setup.arguments.push_back(std::move(argument));
    setup.environment = userEnvironment();
    setup.descriptors[2] = terminal.descriptor();
    const std::unique_ptr<LaunchChild> launcher = LaunchChild::start(setup);
    if (!launcher) return kAuthorizationDenied;

    LaunchAttempt attempt = waitForHelper(&rendezvous, *launcher, Descriptor(), nullptr);
    channel = std::move(attempt.channel);
    if (channel) return kAuthorizationSuccess;
    // An interrupt at its prompt ends sudo by a signal.
    const bool dismissed = attempt.end && attempt.end->signal;
    return dismissed ? kAuthorizationCanceled : kAuthorizationDenied;
}

}  // namespace

AuthorizationStatus launchWithDialog(Rendezvous& rendezvous, std::optional<Channel>& channel) {
    if (isConfined()) return kAuthorizationInteractionNotAllowed;
    if (rendezvous.helperCommand().empty()) return kAuthorizationInternal;
    const LaunchTurn turn;
    PkexecEnd end = runPkexec(rendezvous, channel, nullptr);
    // Only then: an agent of the desktop has already asked otherwise, and no user is asked twice.
    if (end == PkexecEnd::NoAgent) end = askOnTerminal(rendezvous, channel);
    switch (end) {
        case PkexecEnd::Helped:
            return kAuthorizationSuccess;
        case PkexecEnd::NoAuthority:
            return askWithSudo(rendezvous, channel);
        case PkexecEnd::NoAgent:
        case PkexecEnd::Confined:
            return kAuthorizationInteractionNotAllowed;
        case PkexecEnd::Dismissed:
            return kAuthorizationCanceled;
        case PkexecEnd::Refused:
            return kAuthorizationDenied;
    }
    return kAuthorizationDenied;
}

}  // namespace quillmoor::platform::linux_::authorization
