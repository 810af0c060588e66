// A temporary folder that other users cannot look into.
#pragma once

#include <string>

namespace quillmoor::host {

// Other users may watch a shared temporary folder and create an item under the name that a pane is
// about to unpack to and open. As long as this object lives, the process and its children use a
// folder that only its owner may enter.
class PrivateTemporaryFolder {
  public:
    // Creates the folder in the current temporary folder and sets TMPDIR to it. Call before any
    // thread is started. Throws HostError if it cannot be created.
    PrivateTemporaryFolder();
    // Removes the folder, unless anything but empty folders is left in it.
    ~PrivateTemporaryFolder();
    PrivateTemporaryFolder(const PrivateTemporaryFolder&) = delete;
    PrivateTemporaryFolder& operator=(const PrivateTemporaryFolder&) = delete;

  private:
    std::string path_;
};

}  // namespace quillmoor::host
