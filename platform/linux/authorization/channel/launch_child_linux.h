// A program that is started to obtain authorization, or to ask the user for it.
#pragma once

#include <sys/types.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/process/child_posix.h"

namespace quillmoor::platform::linux_::authorization {

struct LaunchSetup {
    std::string path;
    StringList arguments;  // without the program's own name, which is `path`
    Environment environment;
    // The child's descriptors 0 to 3. -1 is the null device, and for the last one no descriptor.
    std::array<int, 4> descriptors = {-1, -1, -1, -1};
};

// How a program ended. Both nil when the status is lost, because the host ignores SIGCHLD or
// collects children that are not its own.
struct LaunchEnd {
    std::optional<int> code;
    std::optional<int> signal;
};

// A direct child of this process, with default signals, an empty mask and no other descriptors.
// Direct, since polkit looks for the agent of the launcher's parent.
class LaunchChild {
  public:
    // Null when the system cannot start it. After std::bad_alloc no child is left.
    static std::unique_ptr<LaunchChild> start(const LaunchSetup& setup);

    // A child that still runs keeps running, and is reaped when it ends.
    ~LaunchChild();
    LaunchChild(const LaunchChild&) = delete;
    LaunchChild& operator=(const LaunchChild&) = delete;

    pid_t pid() const { return pid_; }
    // Readable once the child has ended.
    int exitDescriptor() const { return exit_.get(); }

    // True until it has ended: so long its process id cannot be reused.
    bool isRunning() const;
    // nil while it runs.
    std::optional<LaunchEnd> end();
    // True when it has ended or is about to: the system releases a process's memory first, then
    // closes its descriptors, and reports its end last.
    bool isEnding() const;
    // Sends SIGKILL, and nothing when it has ended.
    void kill();

  private:
    LaunchChild() = default;
    void leaveToReaper(pid_t pid, posix::Descriptor exit) noexcept;

    pid_t pid_ = -1;  // -1 until it is started
    // Made in advance: when the child is left to the reaper there may be no memory.
    std::shared_ptr<posix::Child> abandoned_ = std::make_shared<posix::Child>();
    posix::Descriptor exit_;
    std::optional<LaunchEnd> end_;
};

}  // namespace quillmoor::platform::linux_::authorization
