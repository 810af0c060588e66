// The folder in which a client waits for its helper.
#pragma once

#include <optional>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// Only its user may enter it. It is locked for as long as its maker has it: a folder that is not is
// left over from a process that was killed.
class RendezvousFolder {
  public:
    // A new folder in `place`; nil when none can be made there.
    static std::optional<RendezvousFolder> make(const std::string& place);

    RendezvousFolder(RendezvousFolder&& other) noexcept;
    RendezvousFolder& operator=(RendezvousFolder&& other) noexcept;
    // Removes the folder and the socket in it.
    ~RendezvousFolder();

    // The path for a socket in it.
    std::string socketPath() const;

  private:
    RendezvousFolder(std::string path, posix::Descriptor locked);

    std::string path_;
    posix::Descriptor locked_;
};

// Removes what killed processes of this user have left in `place`: folders that are named as make()
// names them, belong to this user and are closed to all others, are locked by no process, and hold
// a socket or have been empty for ten minutes. Follows no link, leaves mount points alone, and
// ignores failures.
void removeAbandonedFolders(const std::string& place);

}  // namespace quillmoor::platform::linux_::authorization
