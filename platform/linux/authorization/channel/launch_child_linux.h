// A program that is started to bring rights, or to ask somebody for them.
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
    // What becomes of the descriptors 0 to 3. -1 is the null device, for the last one nothing.
    std::array<int, 4> descriptors = {-1, -1, -1, -1};
};

// How a program ended. Both nil: the system gave the status to somebody else, because the host
// ignores SIGCHLD or collects children that are not its own.
struct LaunchEnd {
    std::optional<int> code;
    std::optional<int> signal;
};

// A direct child of this process, with default signals, an empty mask and no other descriptors.
class LaunchChild {
  public:
    // Null when the system cannot start it. Throws std::bad_alloc; no child is left then.
    static std::unique_ptr<LaunchChild> start(const LaunchSetup& setup);

    // A child that still runs then runs on, and is collected when it ends.
    ~LaunchChild();
    LaunchChild(const LaunchChild&) = delete;
    LaunchChild& operator=(const LaunchChild&) = delete;

    pid_t pid() const { return pid_; }
    // Readable once the child has ended.
    int exitDescriptor() const { return exit_.get(); }

    // It has not ended, so that its number is its own.
    bool isRunning() const;
    // nil while it runs.
    std::optional<LaunchEnd> end();
    // It has ended or is about to: the system takes its memory first, then closes its descriptors,
    // and tells of its end last.
    bool isEnding() const;
    // SIGKILL; nothing when it has ended.
    void kill();

  private:
    LaunchChild() = default;
    void giveUp(pid_t pid, posix::Descriptor exit) noexcept;

    pid_t pid_ = -1;  // until it is started
    // Made beforehand: when the child is given up there may be no memory.
    std::shared_ptr<posix::Child> givenUp_ = std::make_shared<posix::Child>();
    posix::Descriptor exit_;
    std::optional<LaunchEnd> end_;
};

}  // namespace quillmoor::platform::linux_::authorization
