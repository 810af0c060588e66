// Checks that a shared object is complete.
#pragma once

#include <string>

namespace quillmoor::host {

// Throws HostError if a segment of the ELF file, or its program header table, ends beyond the end
// of the file, or if the file cannot be read. A file that is not an ELF file of this machine's word
// size passes: the loader refuses it with its own message.
void checkIsComplete(const std::string& path);

}  // namespace quillmoor::host
