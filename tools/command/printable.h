// Names of items as text that is safe to show.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::command {

// Writes control characters, backslashes and invalid UTF-8 bytes as \xNN, so that a name cannot
// control the terminal that shows it.
std::string printable(std::string_view bytes);

// “printable”
std::string quoted(std::string_view bytes);

}  // namespace quillmoor::command
