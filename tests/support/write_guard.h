// Keeps the file operations under test inside the test's own folders: a call that would change
// anything elsewhere fails the test, and fails with EPERM. Only what goes through the table of
// system calls is seen.
#pragma once

#include <string>

namespace quillmoor::test {

// For the rest of the process. Nothing may be changed until a folder is allowed.
void installWriteGuard();

// The folder `path`, and all below it, may be changed for as long as this lives. From any thread.
class AllowWritesBelow {
  public:
    explicit AllowWritesBelow(const std::string& path);
    ~AllowWritesBelow();
    AllowWritesBelow(const AllowWritesBelow&) = delete;
    AllowWritesBelow& operator=(const AllowWritesBelow&) = delete;

  private:
    std::string root_;
};

}  // namespace quillmoor::test
