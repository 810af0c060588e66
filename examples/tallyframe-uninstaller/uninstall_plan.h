// The uninstaller's work and its results, without a window.
#pragma once

#include <string>
#include <vector>

namespace quillmoor::tallyframe {

struct Item {
    enum class Kind { Application, SupportFolder };
    Kind kind;
    std::string path;
};

enum class Fate {
    Moved,     // it is in the Trash
    Missing,   // it was removed by others before it could be moved
    NotMoved,  // it is unchanged
};

struct Report {
    Item item;
    Fate fate;
};

// Returns what is installed of the product now: the application, wherever it is, and its folder of
// counters. Empty if there is nothing. May be called on any thread.
std::vector<Item> findItems();

// Moves each item to the user's Trash, from where the desktop can put it back, and logs the result.
// An item that cannot be moved does not stop the others. A link is moved itself, not its target.
// Nothing is removed permanently. May be called on any thread; takes long if the Trash is on
// another file system.
std::vector<Report> moveToTrash(const std::vector<Item>& items);

// Returns true if no item is left in its place.
bool allGone(const std::vector<Report>& reports);

}  // namespace quillmoor::tallyframe
