// A folder of a benchmark's own.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace quillmoor::bench {

// A new folder in one that the user names, who may have other items in it. Removed with its
// contents at the end.
class WorkFolder {
  public:
    // Creates `place` as well if it is missing; that folder is left.
    explicit WorkFolder(const std::filesystem::path& place) : path_(place / "bench-XXXXXX") {
        std::filesystem::create_directories(place);
        if (::mkdtemp(path_.data()) == nullptr)
            throw std::system_error(errno, std::generic_category(), path_);
    }
    ~WorkFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace quillmoor::bench
