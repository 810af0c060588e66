#include "platform/linux/rights/helper/tool_linux.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "platform/posix/c_strings_posix.h"

namespace quillmoor::platform::linux_::rights::helper {
namespace {

struct Tool {
    const char* path;
    char* const* arguments;
    char* const* environment;
    const std::vector<posix::Descriptor>& descriptors;
    int error = 0;
};

// In the child, with the helper's memory but signals and descriptors of its own. Every other signal
// has its default action already.
[[noreturn]] void becomeTool(Tool& tool) {
    const auto take = [&tool](RequestDescriptor source, int number) {
        return ::dup2(tool.descriptors[source].get(), number) == number;
    };
    ::signal(SIGCHLD, SIG_DFL);
    ::signal(SIGPIPE, SIG_DFL);
    if (::setsid() >= 0 && ::fchdir(tool.descriptors[kToolFolder].get()) == 0 &&
        take(kToolInput, STDIN_FILENO) && take(kToolOutput, STDOUT_FILENO) &&
        take(kToolError, STDERR_FILENO) && ::close_range(STDERR_FILENO + 1, ~0U, 0) == 0)
        ::execve(tool.path, tool.arguments, tool.environment);
    tool.error = errno;
    ::_exit(EXIT_FAILURE);
}

// posix_spawn(3) maps a stack for the child, which makes a start a third dearer; the helper has but
// one thread, and handles no signal.
[[gnu::noinline]] int start(Tool& tool) {
    const pid_t child = ::vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (child == 0) becomeTool(tool);
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
    Tool tool{path.c_str(), arguments.get(), variables.get(), request.descriptors};
    return start(tool);
}

}  // namespace quillmoor::platform::linux_::rights::helper
