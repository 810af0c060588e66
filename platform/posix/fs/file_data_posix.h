// The data of open files.
#pragma once

#include <sys/types.h>

#include <cstddef>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// As read(2), again after an interruption.
ssize_t readSome(int file, char* bytes, std::size_t size);

// Writes all of it; answers 0 or the error number.
int writeAll(int file, const char* bytes, std::size_t size);

// Closes it and answers 0 or the error number: some file systems refuse data only here.
int closeChecked(Descriptor& file);

}  // namespace quillmoor::platform::posix
