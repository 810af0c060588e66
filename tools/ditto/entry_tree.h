// The entries by path, as the tree that they make.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/ditto/entry.h"

namespace quillmoor::ditto {

// Does the file system take "A" and "a" for one name?
enum class FoldCase : bool { No, Yes };

// The components of a path that are neither empty nor ".", one after the other.
class PathComponents {
  public:
    explicit PathComponents(std::string_view path) : rest_(path) {}

    // Answers false after the last one.
    bool next(std::string_view& component);
    std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
};

// Looks at the entries but does not own them. They must hold no NUL, as it sorts like a slash.
class EntryTree {
  public:
    struct Node {
        std::string_view path;  // the entry's name without empty and "." components
        std::string_view key;   // the path, with its case folded where that matters
        const Entry* entry;
    };
    enum class Item { Nothing, ImpliedFolder, Entry };
    struct Found {
        Item item = Item::Nothing;
        const Node* node = nullptr;
    };

    EntryTree(std::span<const Entry> entries, FoldCase foldCase);

    // What stands in a folder follows the folder at once: a slash sorts before all else. Entries of
    // one path stand side by side, in the archive's order. The root itself has no node.
    const std::vector<Node>& nodes() const { return nodes_; }

    Found find(std::string_view key) const;

    std::string keyFor(std::string_view path) const;

  private:
    std::pmr::monotonic_buffer_resource texts_;
    std::vector<Node> nodes_;
    FoldCase foldCase_;
};

// `path` stands somewhere in the folder `folder`.
bool isInside(std::string_view path, std::string_view folder);

// The folder that `path` stands in, without a slash at its end; "" for the root.
std::string_view folderOf(std::string_view path);
std::string_view lastNameOf(std::string_view path);

// The number of leading characters that are whole components of both.
std::size_t commonFolders(std::string_view a, std::string_view b);

}  // namespace quillmoor::ditto
