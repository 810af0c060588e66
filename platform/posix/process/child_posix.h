// One child process, from its start until its status is collected.
#pragma once

#include <sys/types.h>

#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Where one of a child's standard streams leads.
struct ChildStream {
    enum class Kind { Inherited, NullDevice, Descriptor };
    Kind kind = Kind::Inherited;
    int descriptor = -1;
};

struct ChildSetup {
    std::string path;
    StringList arguments;  // without the tool's own name, which is `path`
    OptionalEnvironment environment;
    std::array<ChildStream, 3> streams;
};

// The status of a child whose status the system discarded: the program ignores SIGCHLD, or collects
// children that are not its own.
inline constexpr int kUnknownStatus = -1;

// May be called from any thread. The status is collected and signals are sent under the lock only,
// so that no call waits for, or signals, another process that has got the child's number.
class Child {
  public:
    // Starts a child with its three standard streams and no other descriptor, default signals and
    // an empty signal mask. Null when the system cannot start it, or a text has a NUL.
    static std::shared_ptr<Child> start(const ChildSetup& setup);

    // Lets this object, which has no child yet, represent one that was started otherwise and has
    // not been waited for. `exit` is the result of openExitDescriptor() for it.
    void adopt(pid_t pid, Descriptor exit) noexcept;

    // Returns whether the child runs; collects the status of one that has ended.
    bool isRunning();
    // Waits for the end and collects the status.
    void wait();
    // nil while it runs.
    std::optional<int> status();
    // Send one SIGTERM, or SIGINT, and nothing when the child has ended.
    void terminate();
    void interrupt();

    pid_t processIdentifier() const { return pid_; }

    // Readable once the child has ended; -1 where the system has no such descriptor.
    int exitDescriptor() const { return exit_.get(); }

    // The link of the reaper's list, which so allocates nothing.
    std::shared_ptr<Child> next;

  private:
    bool collectIfEnded();
    void send(int signal);

    std::mutex mutex_;
    pid_t pid_ = -1;
    Descriptor exit_;
    std::optional<int> status_;
};

}  // namespace quillmoor::platform::posix
