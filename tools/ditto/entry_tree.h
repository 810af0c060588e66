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

// Whether the file system takes "A" and "a" for one name.
enum class FoldCase : bool { No, Yes };

// The components of a path that are neither empty nor ".", one after the other.
class PathComponents {
  public:
    explicit PathComponents(std::string_view path) : rest_(path) {}

    // Returns false after the last one.
    bool next(std::string_view& component);
    std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
};

// Points to the entries and does not own them. Their names must not contain a NUL, which would sort
// like a slash.
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

    // The contents of a folder directly follow the folder: a slash sorts before every other
    // character. Entries of one path are neighbours, in the archive's order. The root has no node.
    const std::vector<Node>& nodes() const { return nodes_; }

    Found find(std::string_view key) const;

    std::string keyFor(std::string_view path) const;

  private:
    std::pmr::monotonic_buffer_resource texts_;
    std::vector<Node> nodes_;
    FoldCase foldCase_;
};

// Returns whether `path` is below the folder `folder`, at any depth.
bool isInside(std::string_view path, std::string_view folder);

// The folder that holds `path`, without a slash at its end; "" for the root.
std::string_view folderOf(std::string_view path);
std::string_view lastNameOf(std::string_view path);

// The number of leading characters that are whole components of both.
std::size_t commonFolders(std::string_view a, std::string_view b);

}  // namespace quillmoor::ditto
