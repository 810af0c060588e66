// Messages to a helper that are not requests.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// The names of them, separated by tabs.
std::string malformations(const StringList&);

// Sends the one with the name words[1] to the helper, in place of a request to make the file
// words[2]. Returns "closed" when the helper closes the connection without a reply, "answered" when
// it sends one, and "open" when it does neither within some seconds.
std::string sendMalformed(const StringList& words);

}  // namespace quillmoor::probe
