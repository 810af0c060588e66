// An archive opened for reading.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::ditto {

// May be read from several threads. Every failure is a Failure that names the file.
class InputFile {
  public:
    // A regular file, or a link to one.
    explicit InputFile(std::string path);

    const std::string& path() const { return path_; }
    std::uint64_t size() const { return size_; }

    // Fills `bytes`; a file that ends before is a failure.
    void readAt(std::uint64_t offset, std::span<unsigned char> bytes) const;

  private:
    std::string path_;
    platform::posix::Descriptor file_;
    std::uint64_t size_ = 0;
};

}  // namespace quillmoor::ditto
