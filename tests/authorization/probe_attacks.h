// What a process might do that came by another one's connection to the helper.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// The one socket of this process whose peer is root; -1 when there is none.
int channelDescriptor();

// All of these act on the one connection that this process has to a helper. words[1] is a file that
// they try to make through that helper, without being authorized.

// Not an attack: this process sends the same request as the others. Its connection cannot be used
// afterwards, since the reply has not been read.
std::string askRightfully(const StringList& words);

// A child made by fork without its handlers sends a well-formed request.
std::string askFromForkedChild(const StringList& words);

// Another process of the same user takes the descriptor out of this one and does the same.
// "denied" where the system does not let it.
std::string askFromThief(const StringList& words);

// A child made by fork keeps the connection open for half a minute. Answers its number.
std::string keepInForkedChild(const StringList& words);

// Asks for the tool words[1] without the library, which would not send every name. Answers the
// helper's error number; the connection can be used afterwards.
std::string requestTool(const StringList& words);

// Does a child that was started like any other have a socket of this process? "none" or "some".
std::string socketsOfChild(const StringList& words);

}  // namespace quillmoor::probe
