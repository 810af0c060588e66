// A walk through a folder and the folders inside, by path, in listing order.
#pragma once

#include <functional>
#include <string>

namespace quillmoor {

struct TreeWalk {
    // Entries of these names are passed over, folders with all they hold.
    std::function<bool(const std::string& name)> isLeftOut = [](const std::string&) {
        return false;
    };
    // Every other entry that is no folder. NO ends the walk.
    std::function<bool(const std::string& item, const std::string& name)> visit;
    // A link back to a folder on the way down is visited as well.
    bool visitsLoops = false;
    // A folder that cannot be listed ends the walk, instead of holding nothing.
    bool endsAtUnlisted = false;
};

// Links to folders are followed; a folder that is already on the way down is not entered, so that a
// loop of links ends. What cannot be listed holds nothing. Each folder is listed when the walk
// comes to it. NO when the walk was
// ended.
bool walkTree(const std::string& folder, const TreeWalk& walk);

}  // namespace quillmoor
