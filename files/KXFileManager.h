// File operations for a maker's products.
//
// Contents:
//   Archives   KXFileManager+Archive.cpp   decompressFile
#pragma once

#include "base/types.h"

namespace quillmoor {

// No instance and no state; may be used from any thread. A failure is an answer, never an
// exception.
class KXFileManager {
  public:
    KXFileManager() = delete;

    // Archives ----------------------------------------------------------------------------------

    // `decompressFile:toDestinationFolder:`: unpacks the zip archive `path` with the system's
    // archiving tool into the folder, which the tool makes, and waits for it. What stands at the
    // destination already goes to the user's Trash first.
    //
    // YES if something exists at the destination afterwards: that is also so when what stood there
    // could not be moved away and the tool failed. After a failure nothing of the archive is there.
    static bool decompressFile(const OptionalPath& path, const OptionalPath& toDestinationFolder);
};

}  // namespace quillmoor
