// The user's Trash.
#pragma once

#include <string>
#include <vector>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// What became of items that were to be moved into the Trash.
struct RecycleOutcome {
    bool allMoved = false;
    // Items that are complete in the Trash, though a part of each could not be removed from its old
    // place.
    struct RemainingCopy {
        std::string item;  // its old place
        std::string copy;  // its place in the Trash
    };
    std::vector<RemainingCopy> remainingCopies;

    explicit operator bool() const { return allMoved; }
};

// May be called from any thread.
class Trash {
  public:
    virtual ~Trash() = default;

    // `performFileOperation:` with the recycle operation: puts the items `names` of the folder
    // `source` into the user's Trash, from where the desktop can restore them. An empty `source` is
    // the current folder. An item whose name is taken there gets a new one. `destination` names the
    // Trash folder; nil is the user's own. An item that is not moved stays whole where it is and
    // nothing of it is in the Trash, but for those among `remainingCopies`. All items are tried.
    virtual RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                                   const StringList& names) = 0;

    // Before another process, one with administrator rights, moves an item into the Trash folder
    // `destination`: makes that folder what it must be, as its user's. Returns false when it cannot
    // be used, as one that leads out of its home; then nothing must be moved there.
    virtual bool prepareTrash(const std::string& destination) = 0;

    // Records, in a Trash that was prepared, that `item` is about to be moved there under `name`.
    // The record of an item of that name is kept. Returns false when there is no record: the item
    // may be moved there all the same, but the desktop cannot restore it.
    virtual bool recordPendingTrash(const std::string& destination, const std::string& name,
                                    const std::string& item) = 0;

    // Removes the record of an item that was not moved after all.
    virtual void discardTrashRecord(const std::string& destination, const std::string& name) = 0;
};

}  // namespace quillmoor::platform
