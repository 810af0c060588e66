// The data of open files.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <memory>

#include "platform/posix/descriptor.h"

namespace quillmoor::platform::posix {

// Writes all of it; answers 0 or the error number.
int writeAll(int file, const char* bytes, std::size_t size);

// Closes it and answers 0 or the error number: some file systems refuse data only here.
int closeChecked(Descriptor& file);

// Copies file after file; one thread at a time.
class DataCopier {
  public:
    // Fills the empty file `to` with what `from` holds, from where both stand: shares the blocks
    // where the file system can, else reads and writes, and leaves holes where there are holes.
    // `status` is of `from`. Answers 0 or the error number.
    int copy(int from, int to, const struct stat& status);

  private:
    int copyRegions(int from, int to, off_t size);
    int copyNext(int from, int to, off_t length);
    int copyToEnd(int from, int to);
    char* buffer();

    std::unique_ptr<char[]> buffer_;
    bool mayClone_ = true;  // until the file system says that it cannot
};

}  // namespace quillmoor::platform::posix
