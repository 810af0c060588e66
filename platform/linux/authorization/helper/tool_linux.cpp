#include "quillmoor/platform/linux/authorization/helper/tool_linux.h"

#include <sched.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>

#include "quillmoor/platform/linux/authorization/helper/empty_folder_linux.h"
#include "quillmoor/platform/posix/ground/c_strings_posix.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

struct Tool {
    const char* path;
    char* const* arguments;
    char* const* environment;
    const std::vector<posix::Descriptor>& descriptors;
    int folder = -1;
    int error = 0;
    bool isFolderClosed = false;
};

// Runs in the child, which shares the helper's memory but not its signals and descriptors. Every
// other signal has its default action already. Not setsid: the scheduler shares the processor
// between sessions first, so the helper's reply would wait for a busy tool.
int becomeTool(void* argument) {
    Tool& tool = *static_cast<Tool*>(argument);
    // The helper's own streams are open, so received descriptors are above 2, and none is
    // overwritten before its turn.
    const auto take = [&tool](RequestDescriptor source, int number) {
        return ::dup2(tool.descriptors[source].get(), number) == number;
    };
    ::signal(SIGCHLD, SIG_DFL);
    ::signal(SIGPIPE, SIG_DFL);
    tool.isFolderClosed = ::fchdir(tool.folder) != 0;
    if (!tool.isFolderClosed && ::setpgid(0, 0) == 0 && take(kToolInput, STDIN_FILENO) &&
        take(kToolOutput, STDOUT_FILENO) && take(kToolError, STDERR_FILENO) &&
        ::close_range(STDERR_FILENO + 1, ~0U, 0) == 0)
        ::execve(tool.path, tool.arguments, tool.environment);
    // In memory that the helper shares with the child: no pipe is needed to report it.
    tool.error = errno;
    return EXIT_FAILURE;
}

// As posix_spawn(3), but on a static stack: mapping one for each child makes a start a sixth
// slower. That is safe, since the helper has one thread, which waits here until the child has
// called exec or ended, and handles no signal.
int start(Tool& tool) {
    constexpr std::size_t kStackSize = std::size_t{64} << 10;
    alignas(std::max_align_t) static std::array<std::byte, kStackSize> stack;
    tool.error = 0;
    const int child =
        ::clone(becomeTool, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &tool);
    return child < 0 ? errno : tool.error;
}

}  // namespace

int startTool(const Request& request, const Environment& environment) {
    const std::string& path = request.command.front();
    if (!path.starts_with('/')) return EINVAL;
    posix::CStrings arguments;
    for (const std::string& text : request.command) arguments.add(text);
    posix::CStrings variables;
    variables.add(environment);
    Tool tool{path.c_str(), arguments.get(), variables.get(), request.descriptors,
              request.descriptors[kToolFolder].get()};
    const int error = start(tool);
    if (!tool.isFolderClosed) return error;
    // Root may not enter a FUSE file system of the user's, nor every folder of a network mount.
    const posix::Descriptor empty = openEmptyFolder();
    if (!empty) return error;
    tool.folder = empty.get();
    return start(tool);
}

}  // namespace quillmoor::platform::linux_::authorization::helper
