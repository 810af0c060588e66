// The stream between a tool that runs as root and its client.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// A stream, and the tool's ends of its two pipes. Pipes, since a tool may open /dev/stdin or
// /dev/stdout, which fails for a socket.
struct ToolPipes {
    std::shared_ptr<AuthorizedToolStream> stream;
    posix::Descriptor input;
    posix::Descriptor output;
};

// nil when the process has no descriptors left, also after waiting for tools to end. Closes the
// pipes of released streams whose tools have closed their ends. May be called from any thread.
std::optional<ToolPipes> openToolPipes();

// Calls `open` until it returns true, for at most five seconds: again only when it failed for lack
// of descriptors, by errno, while tools of released streams still run, whose end frees some.
bool openWithRoom(const std::function<bool()>& open);

}  // namespace quillmoor::platform::linux_::authorization
