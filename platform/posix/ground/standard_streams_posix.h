// The numbers 0 to 2 belong to the standard streams, also when the host has closed them.
#pragma once

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

inline constexpr int kFirstOwnDescriptor = 3;

// `descriptor`, or a copy of it with a number above the standard streams' when it got one of
// theirs. Invalid, with errno set, when it was invalid or no number is left.
Descriptor aboveStandardStreams(Descriptor descriptor);

}  // namespace quillmoor::platform::posix
