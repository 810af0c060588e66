// Whether a shared object is all there.
#pragma once

#include <string>

namespace quillmoor::host {

// Throws HostError when a segment of the ELF file, or its table of segments, ends beyond the end of
// the file, or when the file cannot be read. A file that is not an ELF file of this machine's word
// size passes: the loader refuses it with a reason of its own.
void checkIsComplete(const std::string& path);

}  // namespace quillmoor::host
