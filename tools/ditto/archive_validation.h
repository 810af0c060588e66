// Validates a list of entries before anything is unpacked. Reads and writes no file.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "tools/ditto/entry.h"
#include "tools/ditto/entry_tree.h"

namespace quillmoor::ditto {

struct Refusal {
    const Entry* entry = nullptr;  // nullptr: the entries together are refused
    std::string reason;            // for example: its name is absolute
};

// Validates each entry alone (name, method, sizes, kind), their total size and number, and that no
// two of them claim the same bytes of an archive. An EntryTree may be made only of entries for
// which this returns nothing.
std::optional<Refusal> validateEntries(std::span<const Entry> entries, const Limits& limits);

// Validates the tree that the entries make: refuses duplicate names, items that would be written
// through a link or a file, and links that lead out.
std::optional<Refusal> validateTree(const EntryTree& tree, const Limits& limits);

// An AppleDouble entry, which holds what Linux has no place for: __MACOSX/…/._name
bool isAppleDouble(std::string_view path);

}  // namespace quillmoor::ditto
