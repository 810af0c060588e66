// What a client might send its helper that is no request.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// The names of them, separated by tabs.
std::string malformations(const StringList&);

// Sends the one with the name words[1] to the helper, in place of a request to make the file
// words[2]. Answers "closed" when the helper ends the connection without a word, "answered" when it
// has one to say, and "open" when it does neither within some seconds.
std::string sendMalformed(const StringList& words);

}  // namespace quillmoor::probe
