// The bundle as it is shipped, with a home and a computer of the test's own around it.
#pragma once

#include <map>
#include <string>

#include "tests/support/temp_folder.h"

namespace quillmoor::test {

// Where applications are looked for and temporary files go. What a desktop entry names is found by
// the super-user as well, for whom a home's own folders do not count.
class Computer {
  public:
    // For a process that is started.
    std::map<std::string, std::string> environment() const;
    // For this process, but for the temporary folder.
    void use() const;

    // Puts Tallyframe there, and takes it away.
    void install() const;
    void uninstall() const;

    const TempFolder& folder() const { return folder_; }
    std::string entry() const;
    // Where a copy of the shipped bundle stands whose archive holds an application that writes its
    // own path in `opened`.
    std::string bundleWithStub(const std::string& application = "Tallyframe Uninstaller.app") const;
    // A copy of the shipped bundle without its archive.
    std::string bundleWithoutArchive() const;
    std::string opened() const { return folder_ / "opened"; }
    std::string temporary() const { return folder_ / "tmp"; }

  private:
    TempFolder folder_;
};

}  // namespace quillmoor::test
