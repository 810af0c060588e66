// The numbers 0 to 2 are reserved for the standard streams, also when the host has closed them: a
// descriptor with such a number would become a child's standard stream.
#pragma once

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

inline constexpr int kFirstOwnDescriptor = 3;

// Returns `descriptor`, or a close-on-exec copy with a number above 2 when it has one of the
// standard streams'. Invalid, with errno set, when `descriptor` is invalid or no number is left;
// the original is then closed.
Descriptor aboveStandardStreams(Descriptor descriptor);

}  // namespace quillmoor::platform::posix
