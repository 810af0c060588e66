// The system's own log of what programs report.
#pragma once

#include <string_view>

namespace quillmoor::platform::posix {

// A hook, which the back-end's folder defines: writes `text` as one dated line with the program's
// name to standard error and to the system's log, where the system has one call for that. Returns
// false if nothing was written, because there is no such call or it cannot take the text: the
// console then writes the line itself. Called from any thread.
bool logToSystem(std::string_view text);

}  // namespace quillmoor::platform::posix
