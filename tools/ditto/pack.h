// Packing a file or folder into a zip archive.
#pragma once

#include "tools/ditto/options.h"

namespace quillmoor::ditto {

// Packs the one source of `options`. An existing archive is replaced only by the complete new one;
// after a Failure or Interrupted it is unchanged. A link at the archive's path is replaced, not
// followed. The archive's mode is 0666 without `umask`; the process's own mask must be 0.
void pack(const Options& options, unsigned umask);

}  // namespace quillmoor::ditto
