// Reads and writes small files as a whole. Paths are bytes, as for the system.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::host {

// Returns the contents of a regular file; links are followed. Throws HostError with the system's
// text.
std::string readWholeFile(const std::string& path);

// Creates or overwrites a file; links are followed. Throws HostError with the system's text; the
// file may then be incomplete.
void writeWholeFile(const std::string& path, std::string_view contents);

}  // namespace quillmoor::host
