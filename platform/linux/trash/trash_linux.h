// Moving items into the Trash.
#pragma once

#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/trash.h"

namespace quillmoor::platform::linux_ {

// As Trash::recycle. `destination` is nil, for the Trash of this process's own home, or the
// path .Trash in a home; any other path fails. From another file system an item is copied, then
// removed; an item that is in the Trash already is left unchanged and counts as moved. A copy that
// remains keeps its record.
RecycleOutcome recycleToTrash(const std::string& source, const OptionalPath& destination,
                              const StringList& names);

// As Trash's operations of these names. Where a folder of the user's own Trash may not be entered
// or changed, because it has another owner, an existing ~/.Trash is used as it is, and a missing
// one is made as a real folder; items there have no records. A record without an item is replaced.
// A name that is too long for a record gets none.
bool prepareTrash(const std::string& destination);
bool recordPendingTrash(const std::string& destination, const std::string& name,
                        const std::string& item);
void discardTrashRecord(const std::string& destination, const std::string& name);

}  // namespace quillmoor::platform::linux_
