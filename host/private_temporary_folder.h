// A temporary folder that other users cannot look into.
#pragma once

#include <string>

namespace quillmoor::host {

// What a pane unpacks and opens must not be put in its place by somebody else, who may watch a
// shared temporary folder and take a name there first. As long as this lives the process and what
// it starts use a folder of the user's own.
class PrivateTemporaryFolder {
  public:
    // Makes it in the temporary folder there is, and names it in the environment; before any
    // thread is started. Throws HostError when it cannot be made.
    PrivateTemporaryFolder();
    // Removes it, unless something more than empty folders has been left in it.
    ~PrivateTemporaryFolder();
    PrivateTemporaryFolder(const PrivateTemporaryFolder&) = delete;
    PrivateTemporaryFolder& operator=(const PrivateTemporaryFolder&) = delete;

  private:
    std::string path_;
};

}  // namespace quillmoor::host
