// Unpacking: judge everything, write into a stage, put the stage in its place.
#pragma once

#include "tools/ditto/options.h"

namespace quillmoor::ditto {

// Unpacks all sources of `options` into its destination. Either everything is there afterwards, or
// the call throws Failure or Interrupted and nothing that it wrote is left. `umask` rules where an
// archive has no rights; the process's own must be 0.
void unpack(const Options& options, unsigned umask);

}  // namespace quillmoor::ditto
