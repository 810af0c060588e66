// Help for a word that was mistyped.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmoor::command {

// Returns the candidate that is nearest to `word`: the one that the fewest insertions, removals,
// replacements and exchanges of neighbours make of it, the first of several. Empty if more than a
// third of the word would have to change.
std::string nearest(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace quillmoor::command
