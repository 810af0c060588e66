// Whole small files, read and written by byte paths.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::host {

// The whole of a regular file; links are followed. Throws HostError with the system's text.
std::string readWholeFile(const std::string& path);

// Makes or replaces a file; links are followed. Throws HostError with the system's text; the file
// may then be incomplete.
void writeWholeFile(const std::string& path, std::string_view contents);

}  // namespace quillmoor::host
