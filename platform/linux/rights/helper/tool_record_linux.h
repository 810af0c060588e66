// What the system's log keeps of each tool.
#pragma once

#include <cstddef>
#include <string>

#include "base/types.h"
#include "platform/linux/rights/helper/client_linux.h"

namespace quillmoor::platform::linux_::rights::helper {

// No record has more bytes.
inline constexpr std::size_t kLongestRecord = 1000;

// One line of printable ASCII: the client's user and process, then the tool and its arguments with
// a space between each two. Every other byte, a space, a quote and a backslash inside one of them
// is written as \xHH, an empty argument as "". What is too long ends with "..." and the number of
// arguments.
std::string toolRecord(const Client& client, const StringList& command);

// Writes the record to the system's log, as a notice of facility authpriv, where there is one.
void logTool(const Client& client, const StringList& command);

}  // namespace quillmoor::platform::linux_::rights::helper
