// Where a helper that was just started finds this process.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_folder_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// A socket in a folder of its own that only this user may enter; both are gone with this object.
class Rendezvous {
  public:
    // nil when no such folder can be made. Removes the folders of this user's killed processes
    // first.
    static std::optional<Rendezvous> open();

    // Readable when somebody knocks.
    int descriptor() const { return socket_.get(); }

    // The helper's absolute path and its arguments; empty when there is no helper to be trusted.
    StringList helperCommand() const;
    // The arguments alone.
    StringList helperArguments() const;

    // Lets one caller in, if one waits. Answers the channel when it is the super-user's and
    // descends from the process `launcher`, or is it; closes anybody else's and answers nil.
    std::optional<Channel> accept(pid_t launcher);

  private:
    Rendezvous(RendezvousFolder folder, posix::Descriptor socket);

    RendezvousFolder folder_;
    posix::Descriptor socket_;
};

}  // namespace quillmoor::platform::linux_::authorization
