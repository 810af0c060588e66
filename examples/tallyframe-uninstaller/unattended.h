// A run of the uninstaller that asks nothing and shows nothing.
#pragma once

#include <cstdio>

namespace quillmoor::tallyframe {

// Moves what is installed of the product to the user's Trash and prints a line for each item, with
// its path as displayText writes it, before it goes on to the next. Returns false if an item is
// left in its place, or if a line could not be written. Administrator rights are asked for where
// the user's own are not sufficient and a dialog or a terminal can ask.
bool removeUnattended(std::FILE* out);

}  // namespace quillmoor::tallyframe
