// Keeps the file operations under test inside the test's own folders: a call that would change
// anything elsewhere fails with EPERM and fails the test. Only calls through the table of system
// calls are checked.
#pragma once

#include <string>

namespace quillmoor::test {

// Installs the guard until the process exits. Nothing may be changed until a folder is allowed.
void installWriteGuard();

// Allows changes of the folder `path`, and of everything below it, as long as it lives. May be used
// on any thread.
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
