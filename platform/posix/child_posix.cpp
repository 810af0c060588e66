#include "platform/posix/child_posix.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/posix/c_strings_posix.h"
#include "platform/posix/child_system_posix.h"

extern char** environ;  // not every system's headers declare it

namespace quillmoor::platform::posix {
namespace {

constexpr char kNullDevice[] = "/dev/null";

CStrings argumentList(const ChildSetup& setup) {
    CStrings list;
    list.add(setup.path);
    for (const std::string& argument : setup.arguments) list.add(argument);
    return list;
}

CStrings environmentList(const OptionalEnvironment& environment) {
    CStrings list;
    if (environment)
        for (const auto& [name, value] : *environment)
            list.add(std::string(name).append("=").append(value));
    return list;
}

// What the child does between its start and the tool's.
class SpawnActions {
  public:
    SpawnActions() : error_(::posix_spawn_file_actions_init(&actions_)) {}
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    void setStream(int number, const ChildStream& stream) {
        switch (stream.kind) {
            case ChildStream::Kind::Inherited:
                return inherit(number);
            case ChildStream::Kind::NullDevice:
                return openNullDevice(number);
            case ChildStream::Kind::Descriptor:
                return note(
                    ::posix_spawn_file_actions_adddup2(&actions_, stream.descriptor, number));
        }
    }
    void closeOthers() { note(closeAllButStandardStreams(&actions_)); }

    bool valid() const { return error_ == 0; }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    void note(int error) {
        if (error_ == 0) error_ = error;
    }
    void openNullDevice(int number) {
        note(::posix_spawn_file_actions_addopen(&actions_, number, kNullDevice, O_RDWR, 0));
    }
    // A stream that the host has closed becomes the null device: whatever the tool opens first
    // would take its number otherwise. One that the host keeps from its children is given all the
    // same: copied onto itself it loses its mark.
    void inherit(int number) {
        const int flags = ::fcntl(number, F_GETFD);
        if (flags < 0)
            openNullDevice(number);
        else if ((flags & FD_CLOEXEC) != 0)
            note(::posix_spawn_file_actions_adddup2(&actions_, number, number));
    }

    posix_spawn_file_actions_t actions_{};
    int error_;
};

class SpawnAttributes {
  public:
    SpawnAttributes() : error_(::posix_spawnattr_init(&attributes_)) {
        sigset_t none;
        ::sigemptyset(&none);
        // Every bit, also those of the signals that the threads library keeps to itself.
        sigset_t all;
        std::memset(&all, 0xff, sizeof all);
        if (error_ == 0) error_ = ::posix_spawnattr_setsigmask(&attributes_, &none);
        if (error_ == 0) error_ = ::posix_spawnattr_setsigdefault(&attributes_, &all);
        if (error_ == 0)
            error_ = ::posix_spawnattr_setflags(&attributes_,
                                                POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    bool valid() const { return error_ == 0; }
    const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
    int error_;
};

}  // namespace

std::shared_ptr<Child> Child::start(const ChildSetup& setup) {
    CStrings arguments = argumentList(setup);
    CStrings environment = environmentList(setup.environment);
    if (!arguments.valid() || !environment.valid()) return nullptr;
    SpawnActions actions;
    for (int number = 0; number < 3; ++number)
        actions.setStream(number, setup.streams[static_cast<std::size_t>(number)]);
    actions.closeOthers();
    const SpawnAttributes attributes;
    if (!actions.valid() || !attributes.valid()) return nullptr;

    auto child = std::make_shared<Child>();
    if (::posix_spawn(&child->pid_, setup.path.c_str(), actions.get(), attributes.get(),
                      arguments.get(), setup.environment ? environment.get() : environ) != 0)
        return nullptr;
    child->exit_ = openExitDescriptor(child->pid_);
    return child;
}

bool Child::collectIfEnded() {
    if (status_) return true;
    siginfo_t info{};
    int result = 0;
    do result = waitForChild(exit_, pid_, &info, WEXITED | WNOHANG);
    while (result != 0 && errno == EINTR);
    if (result == 0 && info.si_pid == 0) return false;
    // The exit status, or the number of the signal that ended the child.
    status_ = result == 0 ? info.si_status : kUnknownStatus;
    return true;
}

bool Child::isRunning() {
    const std::lock_guard lock(mutex_);
    return !collectIfEnded();
}

void Child::wait() {
    do {
        siginfo_t info{};
        waitForChild(exit_, pid_, &info, WEXITED | WNOWAIT);
    } while (isRunning());
}

std::optional<int> Child::status() {
    const std::lock_guard lock(mutex_);
    collectIfEnded();
    return status_;
}

void Child::terminate() {
    const std::lock_guard lock(mutex_);
    if (!collectIfEnded()) signalChild(exit_, pid_, SIGTERM);
}

}  // namespace quillmoor::platform::posix
