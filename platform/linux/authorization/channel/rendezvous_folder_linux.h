// The folder in which a client waits for its helper.
#pragma once

#include <optional>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// Only its user may enter it. It is locked during the lifetime of this object: a folder without a
// lock is left over from a process that was killed.
class RendezvousFolder {
  public:
    // Makes a new folder in the folder `place`; nil when that fails.
    static std::optional<RendezvousFolder> make(const std::string& place);

    RendezvousFolder(RendezvousFolder&& other) noexcept;
    RendezvousFolder& operator=(RendezvousFolder&& other) noexcept;
    // Removes the folder and the socket in it.
    ~RendezvousFolder();

    // The path of the socket in it.
    std::string socketPath() const;

  private:
    RendezvousFolder(std::string path, posix::Descriptor locked);

    std::string path_;
    posix::Descriptor locked_;
};

// Removes the folders that killed processes of this user have left in `place`: those that have a
// name as from make(), belong to this user and are closed to all others, are not locked, and have a
// socket or have been empty for ten minutes. Follows no links, skips mount points, and ignores
// failures.
void removeAbandonedFolders(const std::string& place);

}  // namespace quillmoor::platform::linux_::authorization
