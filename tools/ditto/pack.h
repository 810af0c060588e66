// Packing a file or folder into a zip archive.
#pragma once

#include "tools/ditto/options.h"

namespace quillmoor::ditto {

// Packs the one source of `options`. An archive that is there is replaced only by the complete new
// one; after a Failure or Interrupted it is as it was. A link in the archive's place is replaced,
// not followed. `umask` rules the archive's rights; the process's own must be 0.
void pack(const Options& options, unsigned umask);

}  // namespace quillmoor::ditto
