// What the uninstaller takes away, and how that went. No window is needed for it.
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
    Moved,     // it lies in the Trash
    Missing,   // it was gone before it could be moved
    NotMoved,  // it stays where it is
};

struct Report {
    Item item;
    Fate fate;
};

// What is there of the product now: the application, wherever it is installed, and its folder of
// counters. Empty when there is nothing. Any thread.
std::vector<Item> findItems();

// Moves each item to the user's Trash, from where the desktop can bring it back, and logs what
// became of it. One that cannot be moved does not hold up the others. A link is moved itself, never
// what it leads to. Nothing is ever removed for good. Any thread; takes long where the Trash lies
// on another file system.
std::vector<Report> moveToTrash(const std::vector<Item>& items);

// Nothing is left where it was.
bool allGone(const std::vector<Report>& reports);

}  // namespace quillmoor::tallyframe
