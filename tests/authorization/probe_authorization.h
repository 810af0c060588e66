// The authorization services as a client calls them: one authorization, and tools started with it.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// These three request authorization, with a new reference each time. They return the status, and
// how many seconds it took.
std::string askWithCredentials(const StringList& words);  // words[1] and [2]: name, password
std::string askWithDialog(const StringList&);
std::string askWithNeither(const StringList&);

// Asks with credentials on two threads, words[1] milliseconds apart; words[2] and [3] are name and
// password. Returns both statuses.
std::string askTwice(const StringList& words);

// Releases the authorization and returns the status.
std::string release(const StringList&);

// Starts words[1] with the rest as arguments and reads to the end of its output. Returns the status
// and the output in hexadecimal digits.
std::string execute(const StringList& words);

// The same with every word but the first in hexadecimal digits: arguments of any bytes.
std::string executeBytes(const StringList& words);

// Makes words[1] the working folder. Returns the error number.
std::string enterFolder(const StringList& words);

// Starts a tool like execute, but does not wait for it. Returns the status.
std::string begin(const StringList& words);

// Starts a tool that repeats its arguments, words[1] of them with words[2] bytes each. Returns the
// status and "same" or "changed", by the output.
std::string executeLarge(const StringList& words);

}  // namespace quillmoor::probe
