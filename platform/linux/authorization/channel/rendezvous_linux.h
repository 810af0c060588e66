// The socket to which a helper that was just started connects.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_folder_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// A socket in its own folder that only this user may enter; both are removed with this object.
class Rendezvous {
  public:
    // nil when no such folder can be made. First removes the folders of this user's killed
    // processes.
    static std::optional<Rendezvous> open();

    // Readable when a connection is pending.
    int descriptor() const { return socket_.get(); }

    // The helper's absolute path and its arguments; empty when there is no trustworthy helper: one
    // that another user can replace is not used.
    StringList helperCommand() const;
    // The arguments only.
    StringList helperArguments() const;

    // Accepts one pending connection. Returns its channel when the peer runs as root and is the
    // process `launcher` or a descendant of it; closes any other connection and returns nil.
    std::optional<Channel> accept(pid_t launcher);

  private:
    Rendezvous(RendezvousFolder folder, posix::Descriptor socket);

    RendezvousFolder folder_;
    posix::Descriptor socket_;
};

}  // namespace quillmoor::platform::linux_::authorization
