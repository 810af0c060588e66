// Makes the items of an unpack below the stage.
#pragma once

#include <atomic>
#include <string_view>
#include <vector>

#include "tools/ditto/beneath.h"
#include "tools/ditto/entry_reader.h"
#include "tools/ditto/file_sink.h"
#include "tools/ditto/input_file.h"
#include "tools/ditto/unpack_plan.h"

namespace quillmoor::ditto {

// Writes files. One for each thread.
class FileWriter {
  public:
    FileWriter(int root, const std::vector<InputFile>& archives, unsigned umask,
               const std::atomic<bool>& stop);

    // The file with content, rights and date. It must not exist, nor be reached through a link.
    void write(const PlannedItem& file);

  private:
    const std::vector<InputFile>& archives_;
    const unsigned umask_;
    FolderCache folders_;
    EntryReader reader_;
    FileSink sink_;
};

// Each makes one item new; the folder that it stands in exists. Throws Failure.
void makeFolder(FolderCache& folders, const PlannedItem& folder);
void makeLink(FolderCache& folders, const PlannedItem& link);

// Rights and date of a folder, once nothing will be written into it any more.
void finishFolder(int root, const PlannedItem& folder, unsigned umask);

// The same, where others may have put something else in its place: that is left unchanged, and is a
// Failure.
void finishFolder(int root, const PlannedItem& folder, unsigned umask, const Identity& identity);

}  // namespace quillmoor::ditto
