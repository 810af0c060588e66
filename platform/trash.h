// The user's Trash.
#pragma once

#include <string>
#include <vector>

#include "quillmoor/base/outcome.h"
#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// The result of moving items into the Trash.
struct RecycleOutcome {
    bool allMoved = false;
    // Items that are complete in the Trash, while a part of each could not be removed from its old
    // folder.
    struct RemainingCopy {
        std::string item;  // the old path
        std::string copy;  // the path in the Trash
    };
    std::vector<RemainingCopy> remainingCopies;
    // Of the last item that was not moved; without a code and a text where the system gives none.
    Error error{};

    explicit operator bool() const { return allMoved; }
};

// May be called from any thread.
class Trash {
  public:
    virtual ~Trash() = default;

    // `performFileOperation:` with the recycle operation: puts the items `names` of the folder
    // `source` into the user's Trash, from where the desktop can restore them. An empty `source` is
    // the current folder. An item whose name is taken there gets a new one. `destination` names the
    // Trash folder; nil is the user's own. All items are tried. An item that is not moved is
    // unchanged and nothing of it is in the Trash, except for those in `remainingCopies`.
    virtual RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                                   const StringList& names) = 0;

    // Called before a tool with administrator rights moves an item into the Trash folder
    // `destination`: makes the folder, with its user as the owner. Returns false when the folder
    // cannot be used, for example because it is a link that leads out of its user's home; then
    // nothing must be moved there.
    virtual bool prepareTrash(const std::string& destination) = 0;

    // Records, in a Trash that was prepared, that `item` is about to be moved there under `name`.
    // An existing record of that name is kept. Returns false when there is no record: the item may
    // be moved there all the same, but the desktop cannot restore it.
    virtual bool recordPendingTrash(const std::string& destination, const std::string& name,
                                    const std::string& item) = 0;

    // Removes the record of an item that was not moved after all.
    virtual void discardTrashRecord(const std::string& destination, const std::string& name) = 0;
};

}  // namespace quillmoor::platform
