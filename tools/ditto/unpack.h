// Unpacking: validate everything, write into a stage, move the stage to its place.
#pragma once

#include "tools/ditto/options.h"

namespace quillmoor::ditto {

// Unpacks all sources of `options` into its destination. Either every item is at the destination
// afterwards, or the call throws Failure or Interrupted and nothing that it wrote is left. `umask`
// applies where an archive has no mode; the process's own mask must be 0.
void unpack(const Options& options, unsigned umask);

}  // namespace quillmoor::ditto
