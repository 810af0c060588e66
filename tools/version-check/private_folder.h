// A folder that no other user can read or change.
#pragma once

#include <string>

namespace quillmoor::version_check {

// Makes the folder, with mode 0700, in the user's temporary folder; removes it with its contents at
// the end, unless it was kept. A failure of the removal is not reported.
class PrivateFolder {
  public:
    // Throws std::runtime_error, also where other users could exchange what is in the temporary
    // folder.
    PrivateFolder();
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::string& path() const { return path_; }
    void keep() { isKept_ = true; }

  private:
    std::string path_;
    bool isKept_ = false;
};

}  // namespace quillmoor::version_check
