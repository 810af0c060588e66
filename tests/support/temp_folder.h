// A temporary folder for a test, removed with its contents when the test ends.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::test {

class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& path() const { return path_; }
    // `name` joined to the folder's path.
    std::string operator/(std::string_view name) const;

    // Creates a file, and the folders above it. Returns its path.
    std::string writeFile(std::string_view name, std::string_view contents = "") const;
    // Creates a folder, and those above it. Returns its path.
    std::string makeFolder(std::string_view name) const;
    // Creates a symbolic link `name` to `target`. Returns its path.
    std::string makeLink(std::string_view name, std::string_view target) const;

  private:
    std::string path_;
};

// Returns the contents of a file; "" if it cannot be read.
std::string readFile(const std::string& path);

// Returns whether an item exists, including dangling links.
bool somethingAt(const std::string& path);

}  // namespace quillmoor::test
