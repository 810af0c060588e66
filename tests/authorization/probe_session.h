// The rights session as a client calls it.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// words[1] names the operation, its paths follow. Answers YES or NO.
std::string callSession(const StringList& words);

// Microseconds from the call to its answer, of words[1] tools with rights and as many bare starts.
std::string compareStarts(const StringList& words);

// Starts words[1] tools with rights, one after the other, with at most words[2] descriptors.
// Answers how many were not started, how many descriptors are open in the end beyond those at the
// start and the latest tool's, and the seconds it took.
std::string startMany(const StringList& words);

}  // namespace quillmoor::probe
