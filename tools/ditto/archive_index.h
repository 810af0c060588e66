// Reads what an archive declares: its central directory, the position of each entry's data, and
// the targets of its links.
#pragma once

#include <cstdint>

#include "tools/ditto/entry.h"
#include "tools/ditto/input_file.h"

namespace quillmoor::ditto {

// Appends the entries of `archive`, the `number`th of several, in the order of its directory.
// Nothing is validated beyond what reading needs: throws Failure for a file that is not a zip
// archive or is damaged, for more entries than `limits` allows, and for a directory or link targets
// of a size that no honest archive has. The target of a link that the validation refuses anyway may
// be left unread.
void readIndex(const InputFile& archive, std::uint16_t number, const Limits& limits,
               EntryList& list);

}  // namespace quillmoor::ditto
