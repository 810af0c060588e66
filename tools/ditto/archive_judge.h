// Decides whether a list of entries may be unpacked at all. Touches nothing.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "tools/ditto/entry.h"
#include "tools/ditto/entry_tree.h"

namespace quillmoor::ditto {

struct Refusal {
    const Entry* entry = nullptr;  // nullptr: all of them together
    std::string reason;            // as in: its name is absolute
};

// Each entry by itself (name, method, sizes, kind), what they come to together, and whether two of
// them claim the same bytes of an archive. Nothing means that an EntryTree may be made of them.
std::optional<Refusal> judgeEntries(std::span<const Entry> entries, const Limits& limits);

// The tree that the entries make: names that stand twice, things that would be written through a
// link or a file, links that lead out.
std::optional<Refusal> judgeTree(const EntryTree& tree, const Limits& limits);

// An entry that Linux has no place for: __MACOSX/…/._name
bool isAppleDouble(std::string_view path);

}  // namespace quillmoor::ditto
