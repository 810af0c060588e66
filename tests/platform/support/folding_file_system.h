// A file system that folds the case of names; needs root.
#pragma once

#include <string>

#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::test {

// One of the test's own in a file, mounted for this process alone: ext4 with folding folders where
// the system has them, else exFAT where exfat-fuse is installed.
class FoldingFileSystem {
  public:
    explicit FoldingFileSystem(const TempFolder& folder);
    ~FoldingFileSystem();
    FoldingFileSystem(const FoldingFileSystem&) = delete;
    FoldingFileSystem& operator=(const FoldingFileSystem&) = delete;

    // Why there is none here; empty when there is one.
    const std::string& excuse() const { return excuse_; }
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

    // It has modes and links as well.
    bool isUnix() const { return isUnix_; }

  private:
    bool run(const std::string& command);
    bool mountUnix();
    bool mountExfat();

    PrivateMounts mounts_;
    std::string image_;
    std::string mounted_;
    std::string device_;
    std::string path_;
    std::string output_;
    std::string excuse_;
    bool isUnix_ = false;
};

}  // namespace quillmoor::test
