// An archive that is being written, under a temporary name in the folder of its final path.
#pragma once

#include <string>

#include "tools/ditto/folder_access.h"
#include "tools/ditto/source_tree.h"

namespace quillmoor::ditto {

// Destroyed before putInPlace(), it removes the temporary file; an existing archive is unchanged.
class PendingArchive {
  public:
    // Creates no file yet. Throws Failure if the folder of `path` does not exist or `path` is a
    // folder.
    PendingArchive(std::string path, unsigned umask);
    ~PendingArchive();
    PendingArchive(const PendingArchive&) = delete;
    PendingArchive& operator=(const PendingArchive&) = delete;

    ArchiveLocation location() const;
    void create();
    int file() const { return file_.get(); }
    // Replaces an existing item, including a link, by the finished file.
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
