// An archive that is being written, under a temporary name beside its place.
#pragma once

#include <string>

#include "tools/ditto/beneath.h"
#include "tools/ditto/source_tree.h"

namespace quillmoor::ditto {

// Destroyed before putInPlace(), it removes the file; what stood in its place is untouched.
class PendingArchive {
  public:
    // Makes nothing yet. Throws Failure where the folder does not exist or a folder stands there.
    PendingArchive(std::string path, unsigned umask);
    ~PendingArchive();
    PendingArchive(const PendingArchive&) = delete;
    PendingArchive& operator=(const PendingArchive&) = delete;

    Place place() const;
    void create();
    int file() const { return file_.get(); }
    // Replaces what stands there, be it a link.
    void putInPlace();

  private:
    std::string path_;
    std::string name_;
    unsigned umask_;
    Descriptor folder_;
    std::string temporaryName_;  // "" while there is no such file
    Descriptor file_;
};

}  // namespace quillmoor::ditto
