// The record of each started tool in the system's log.
#pragma once

#include <cstddef>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/helper/client_linux.h"

namespace quillmoor::platform::linux_::authorization::helper {

// The most bytes of a record: a logging service may cut longer lines.
inline constexpr std::size_t kLongestRecord = 1000;

// Lines of printable ASCII, usually one: the client's user and process, then the tool and its
// arguments, each after a space. Every other byte, a space, a quote and a backslash inside one of
// them is written as \xHH, an empty argument as "". A record that would be too long continues in
// the next, after ", continued:", so that nothing can be hidden behind long arguments.
StringList toolRecords(const Client& client, const StringList& command);

// Writes the records to the system's log, as notices of facility authpriv, where there is one.
void logTool(const Client& client, const StringList& command);

}  // namespace quillmoor::platform::linux_::authorization::helper
