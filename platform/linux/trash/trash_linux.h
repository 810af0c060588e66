// Items put into the Trash.
#pragma once

#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/trash.h"

namespace quillmoor::platform::linux_ {

// As Trash::recycle. `destination` is nil, for the Trash of this process's own home, or the
// path .Trash in a home; anything else is refused. From another file system an item is copied, then
// removed; what is in the Trash already stays where it is and counts as moved. A copy that remains
// keeps its record.
RecycleOutcome recycleToTrash(const std::string& source, const OptionalPath& destination,
                              const StringList& names);

// As Trash's operations of these names. Where a folder of the user's own Trash may not be
// entered or changed, because it belongs to somebody else, ~/.Trash is used as it stands; where
// nothing stands it is made as a real folder. No item there has a record. A record without an item
// is replaced; a name that leaves no room for a record's has none.
bool prepareTrash(const std::string& destination);
bool recordPendingTrash(const std::string& destination, const std::string& name,
                        const std::string& item);
void discardTrashRecord(const std::string& destination, const std::string& name);

}  // namespace quillmoor::platform::linux_
