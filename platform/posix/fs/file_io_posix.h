// Reading and writing open files.
#pragma once

#include <sys/types.h>

#include <cstddef>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// As read(2), repeated after EINTR.
ssize_t readSome(int file, char* bytes, std::size_t size);

// Writes all of it; returns 0 or the error number.
int writeAll(int file, const char* bytes, std::size_t size);

// Closes it and returns 0 or the error number: some file systems report a failed write only here.
int closeChecked(Descriptor& file);

}  // namespace quillmoor::platform::posix
