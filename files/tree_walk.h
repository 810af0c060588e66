// A walk through a folder and the folders inside, by path, in listing order.
#pragma once

#include <functional>
#include <string>

namespace quillmoor {

// What to do with the entries.
struct TreeWalk {
    // Entries for whose name this returns true are skipped, folders with their contents.
    std::function<bool(const std::string& name)> isLeftOut = [](const std::string&) {
        return false;
    };
    // Called for every other entry that is not a folder. False ends the walk.
    std::function<bool(const std::string& item, const std::string& name)> visit;
    // Whether a link back to a folder on the way down is visited as well.
    bool visitsLoops = false;
    // Whether a folder that cannot be listed ends the walk, instead of counting as empty.
    bool endsAtUnlisted = false;
};

// Walks through `folder`. Links to folders are followed; a folder that is already on the way down
// is not entered, so that a loop of links ends. Each folder is listed when the walk reaches it, so
// visit() may remove its item. Memory holds the names in the folders on the way down only. Returns
// false when the walk was ended early. What visit() throws reaches the caller.
bool walkTree(const std::string& folder, const TreeWalk& walk);

}  // namespace quillmoor
