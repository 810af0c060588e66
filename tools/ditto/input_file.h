// An archive opened for reading.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::ditto {

// Several threads may read it. Every failure is thrown as a Failure that names the file.
class InputFile {
  public:
    // `path` must lead to a regular file; links are followed.
    explicit InputFile(std::string path);

    const std::string& path() const { return path_; }
    std::uint64_t size() const { return size_; }

    // Fills `bytes`. A file that ends before they are full is a Failure.
    void readAt(std::uint64_t offset, std::span<unsigned char> bytes) const;

  private:
    std::string path_;
    platform::posix::Descriptor file_;
    std::uint64_t size_ = 0;
};

}  // namespace quillmoor::ditto
