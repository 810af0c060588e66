// The authorization session as a client calls it.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// words[1] names the operation, its paths follow. Returns YES or NO.
std::string callSession(const StringList& words);

// Microseconds from the call to its return, of words[1] authorized starts and as many bare ones.
std::string compareStarts(const StringList& words);

// Starts words[1] tools as root, one after the other, with at most words[2] descriptors.
// Returns how many were not started, how many descriptors are open in the end beyond those at the
// start and the latest tool's, and the seconds it took.
std::string startMany(const StringList& words);

}  // namespace quillmoor::probe
