// Waiting for the helper that a launcher starts.
#pragma once

#include <poll.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"
#include "quillmoor/platform/linux/authorization/channel/launch_child_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// The limit with given credentials, where no person has to type. A dialog has no limit.
inline constexpr std::chrono::seconds kCredentialsTimeout{60};

// A pipe. Both ends are invalid when there are no descriptors for it.
struct Pipe {
    posix::Descriptor read;
    posix::Descriptor write;
    static Pipe open();
};

// The exchange with programs that ask for a password during the wait.
class Conversation {
  public:
    virtual ~Conversation() = default;

    // Adds the descriptors to poll.
    virtual void await(std::vector<pollfd>& polled) const = 0;
    // Called after each poll; never waits. False abandons the launch.
    virtual bool proceed(const LaunchChild& launcher) = 0;
};

struct LaunchAttempt {
    std::optional<Channel> channel;  // nil: the helper has not connected
    std::optional<LaunchEnd> end;    // nil: the launcher did not end by itself, but was killed
    std::string complaint;           // what the launcher wrote to `errors`
};

// Waits until the helper has connected or `launcher` has ended, with a conversation for at most
// kCredentialsTimeout. Connections of other processes are closed. `rendezvous` may be null when no
// helper is expected.
LaunchAttempt waitForHelper(Rendezvous* rendezvous, LaunchChild& launcher,
                            const posix::Descriptor& errors, Conversation* conversation);

// Waits until bytes or the end of the stream can be read. False after `timeout`.
bool isReadable(int descriptor, std::chrono::milliseconds timeout);
// Reads once; nil at the end of the stream and after an error.
std::optional<std::string> readPiece(int descriptor);

}  // namespace quillmoor::platform::linux_::authorization
