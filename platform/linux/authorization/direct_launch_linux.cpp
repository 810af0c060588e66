#include "quillmoor/platform/linux/authorization/direct_launch_linux.h"

#include <stdlib.h>
#include <unistd.h>

#include <optional>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/tool_environment_linux.h"
#include "quillmoor/platform/linux/authorization/channel/tool_stream_linux.h"
#include "quillmoor/platform/posix/process/child_posix.h"
#include "quillmoor/platform/posix/process/child_reaper_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// The user of the first client, also in a tool that a helper started.
std::string authorizedUid() {
    const char* const given = ::secure_getenv(kAuthorizedUid);
    return given != nullptr ? given : std::to_string(::getuid());
}

}  // namespace

AuthorizationStatus executeDirectly(const std::string& tool, const StringList& arguments,
                                    std::shared_ptr<AuthorizedToolStream>& stream) {
    using Kind = posix::ChildStream::Kind;
    std::optional<ToolPipes> pipes = openToolPipes();
    if (!pipes) return kAuthorizationToolExecuteFailure;
    posix::ChildSetup setup;
    setup.path = tool;
    setup.arguments = arguments;
    // Root's own environment may be a user's, for example after sudo, and could mislead the tool as
    // well.
    setup.environment = toolEnvironment(authorizedUid());
    setup.streams = {{{Kind::Descriptor, pipes->input.get()},
                      {Kind::Descriptor, pipes->output.get()},
                      {Kind::Inherited, -1}}};
    std::shared_ptr<posix::Child> child = posix::Child::start(setup);
    if (child == nullptr) return kAuthorizationToolExecuteFailure;
    // The caller has the tool's stream only, and never waits for the tool itself.
    posix::reapLater(std::move(child));
    stream = std::move(pipes->stream);
    return kAuthorizationSuccess;
}

}  // namespace quillmoor::platform::linux_::authorization
