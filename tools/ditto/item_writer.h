// Creates the items of an unpack below the stage.
#pragma once

#include <atomic>
#include <string_view>
#include <vector>

#include "tools/ditto/entry_reader.h"
#include "tools/ditto/file_sink.h"
#include "tools/ditto/folder_access.h"
#include "tools/ditto/input_file.h"
#include "tools/ditto/unpack_plan.h"

namespace quillmoor::ditto {

// Writes files. Each thread needs its own.
class FileWriter {
  public:
    FileWriter(int root, const std::vector<InputFile>& archives, unsigned umask,
               const std::atomic<bool>& stop);

    // Creates the file with content, mode and date. Throws Failure if it exists or its path leads
    // through a link.
    void write(const PlannedItem& file);

  private:
    const std::vector<InputFile>& archives_;
    const unsigned umask_;
    FolderCache folders_;
    EntryReader reader_;
    FileSink sink_;
};

// Both create one item, in a folder that exists. Throw Failure, also if the item exists.
void makeFolder(FolderCache& folders, const PlannedItem& folder);
void makeLink(FolderCache& folders, const PlannedItem& link);

// Sets mode and date of a folder. To be called after the last item was written into it.
void finishFolder(int root, const PlannedItem& folder, unsigned umask);

// The same for a folder that others may have replaced: one that is not `identity` is left unchanged
// and is a Failure.
void finishFolder(int root, const PlannedItem& folder, unsigned umask, const Identity& identity);

}  // namespace quillmoor::ditto
