// The authorization services as a client calls them: one authorization, and tools started with it.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// These three ask for rights, with a new authorization each time. They answer the status, and how
// many seconds it took.
std::string askWithCredentials(const StringList& words);  // words[1] and [2]: name, password
std::string askWithDialog(const StringList&);
std::string askWithNeither(const StringList&);

// Asks with credentials on two threads, words[1] milliseconds apart; words[2] and [3] are name and
// password. Answers both statuses.
std::string askTwice(const StringList& words);

// Gives the authorization up and answers the status.
std::string giveUp(const StringList&);

// Starts words[1] with the rest as arguments and reads to the end of its output. Answers the status
// and the output in hexadecimal digits.
std::string execute(const StringList& words);

// The same with every word but the first in hexadecimal digits: arguments of any bytes.
std::string executeBytes(const StringList& words);

// Makes words[1] the working folder. Answers the error number.
std::string enterFolder(const StringList& words);

// Starts a tool like execute, but does not wait for it. Answers the status.
std::string begin(const StringList& words);

// Starts a tool that repeats its arguments, words[1] of them with words[2] bytes each. Answers the
// status and, as "same" or "changed", what came back.
std::string executeLarge(const StringList& words);

}  // namespace quillmoor::probe
