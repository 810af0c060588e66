// The shipped bundle, in a home and a system that belong to the test.
#pragma once

#include <map>
#include <string>

#include "tests/support/temp_folder.h"

namespace quillmoor::test {

// The folders for applications and temporary files. Applications are found by a desktop entry,
// which root uses as well; the folders of a home are not searched for root.
class Computer {
  public:
    // The environment for a process to be started.
    std::map<std::string, std::string> environment() const;
    // Sets the environment of this process, except for the temporary folder.
    void use() const;

    // Installs and removes Tallyframe.
    void install() const;
    void uninstall() const;

    const TempFolder& folder() const { return folder_; }
    std::string entry() const;
    // Returns a copy of the shipped bundle whose archive has an application that writes its own
    // path to the file opened().
    std::string bundleWithStub(const std::string& application = "Tallyframe Uninstaller.app") const;
    // Returns a copy of the shipped bundle without its archive.
    std::string bundleWithoutArchive() const;
    std::string opened() const { return folder_ / "opened"; }
    std::string temporary() const { return folder_ / "tmp"; }

  private:
    TempFolder folder_;
};

}  // namespace quillmoor::test
