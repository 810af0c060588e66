// A folder of the test's own, removed with all it holds when the test ends.
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

    // Makes a file, and the folders above it, and answers its path.
    std::string writeFile(std::string_view name, std::string_view contents = "") const;
    // Makes a folder, and those above it, and answers its path.
    std::string makeFolder(std::string_view name) const;
    // Makes a symbolic link `name` that leads to `target`, and answers its path.
    std::string makeLink(std::string_view name, std::string_view target) const;

  private:
    std::string path_;
};

// The whole file; "" when it cannot be read.
std::string readFile(const std::string& path);

// Something stands there, be it a dangling link.
bool somethingAt(const std::string& path);

}  // namespace quillmoor::test
