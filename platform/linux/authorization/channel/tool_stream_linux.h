// The stream between a tool that runs with rights and whoever started it.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// A stream, and the ends of its two pipes that belong to the tool. Pipes, for what a tool opens as
// /dev/stdin or /dev/stdout cannot be a socket.
struct ToolPipes {
    std::shared_ptr<AuthorizedToolStream> stream;
    posix::Descriptor input;
    posix::Descriptor output;
};

// Nil when the process has no descriptors left, even after waiting for tools to end. Closes
// what tools have closed meanwhile of the streams that were let go of. From any thread.
std::optional<ToolPipes> openToolPipes();

// Calls `open` until it answers YES, for a few seconds at most: again only when it failed, with
// errno, for want of descriptors, and a tool whose stream was let go of has given some back.
bool openWithRoom(const std::function<bool()>& open);

}  // namespace quillmoor::platform::linux_::authorization
