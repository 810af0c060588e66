// Waiting for a helper that a launcher is to bring.
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

// Given credentials: nobody sits there who could take longer.
inline constexpr std::chrono::seconds kCredentialsTimeout{60};

// A pipe. Both ends invalid when there is none to be had.
struct Pipe {
    posix::Descriptor read;
    posix::Descriptor write;
    static Pipe open();
};

// What is said to programs that ask while they are waited for.
class Conversation {
  public:
    virtual ~Conversation() = default;

    // Adds the descriptors where something may happen.
    virtual void await(std::vector<pollfd>& polled) const = 0;
    // Called when something may have happened there; never waits. False gives the launch up.
    virtual bool proceed(const LaunchChild& launcher) = 0;
};

struct LaunchAttempt {
    std::optional<Channel> channel;  // nil: the helper has not come
    std::optional<LaunchEnd> end;    // nil: the launcher did not end, but was given up, and killed
    std::string complaint;           // what it wrote to `errors`
};

// Waits until the helper has come or `launcher` has ended. With a conversation it takes no longer
// than kCredentialsTimeout. Whoever else knocks at the rendezvous is sent away; it may be null when
// no helper is expected.
LaunchAttempt waitForHelper(Rendezvous* rendezvous, LaunchChild& launcher,
                            const posix::Descriptor& errors, Conversation* conversation);

// Waits until something can be read, or the end of the text. False when that takes too long.
bool isReadable(int descriptor, std::chrono::milliseconds timeout);
// Reads what is there, and only once; nil at the end of the text, and where nothing can be read.
std::optional<std::string> readPiece(int descriptor);

}  // namespace quillmoor::platform::linux_::authorization
