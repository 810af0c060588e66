#include "tools/ditto/entry_tree.h"

#include <algorithm>

#include "tools/ditto/text.h"

namespace quillmoor::ditto {
namespace {

// The slash first: what is inside "a" then follows "a" at once, and "a-b" comes after it.
unsigned char rank(char c) {
    return c == '/' ? 0 : static_cast<unsigned char>(c);
}

bool sortsBefore(std::string_view a, std::string_view b) {
    const auto [left, right] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (right == b.end()) return false;
    return left == a.end() || rank(*left) < rank(*right);
}

// The name without empty and "." components.
std::string cleaned(std::string_view name) {
    std::string path;
    std::string_view component;
    for (PathComponents components(name); components.next(component);) {
        if (!path.empty()) path += '/';
        path += component;
    }
    return path;
}

std::string_view copied(std::pmr::memory_resource& memory, std::string_view text) {
    if (text.empty()) return {};
    auto* copy = static_cast<char*>(memory.allocate(text.size(), 1));
    text.copy(copy, text.size());
    return {copy, text.size()};
}

// Whether cleaned() would change nothing. The path has no slash at its beginning.
bool isClean(std::string_view path) {
    return !path.starts_with("./") && path != "." && !path.ends_with('/') &&
           !path.ends_with("/.") && path.find("//") == std::string_view::npos &&
           path.find("/./") == std::string_view::npos;
}

}  // namespace

bool PathComponents::next(std::string_view& component) {
    while (!rest_.empty()) {
        const std::size_t end = std::min(rest_.find('/'), rest_.size());
        component = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        if (!component.empty() && component != ".") return true;
    }
    return false;
}

EntryTree::EntryTree(std::span<const Entry> entries, FoldCase foldCase) : foldCase_(foldCase) {
    nodes_.reserve(entries.size());
    for (const Entry& entry : entries) {
        std::string_view path = entry.name;
        if (path.ends_with('/')) path.remove_suffix(1);
        // Most names are clean and need no copy.
        if (!isClean(path)) path = copied(texts_, cleaned(path));
        // The root, which some packers write as "./". It exists already, with a mode of its own.
        if (path.empty()) continue;
        const std::string_view key =
            foldCase == FoldCase::Yes ? copied(texts_, foldedCase(path)) : path;
        nodes_.push_back({path, key, &entry});
    }
    std::sort(nodes_.begin(), nodes_.end(), [](const Node& a, const Node& b) {
        // The entries are in one array, so that their addresses have the archive's order.
        return a.key == b.key ? a.entry < b.entry : sortsBefore(a.key, b.key);
    });
}

EntryTree::Found EntryTree::find(std::string_view key) const {
    const auto at = std::lower_bound(
        nodes_.begin(), nodes_.end(), key,
        [](const Node& node, std::string_view wanted) { return sortsBefore(node.key, wanted); });
    if (at == nodes_.end()) return {};
    if (at->key == key) return {Item::Entry, &*at};
    // No entry has this name, but the next one is inside it.
    if (isInside(at->key, key)) return {Item::ImpliedFolder, nullptr};
    return {};
}

std::string EntryTree::keyFor(std::string_view path) const {
    return foldCase_ == FoldCase::Yes ? foldedCase(path) : std::string(path);
}

bool isInside(std::string_view path, std::string_view folder) {
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

std::string_view folderOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

std::string_view lastNameOf(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

std::size_t commonFolders(std::string_view a, std::string_view b) {
    const auto left = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first;
    const auto same = static_cast<std::size_t>(left - a.begin());
    const auto endsAt = [same](std::string_view path) {
        return same == path.size() || path[same] == '/';
    };
    if (endsAt(a) && endsAt(b)) return same;
    // Back to the last slash: "a/bc" and "a/bd" have only "a" in common.
    const std::size_t slash = same == 0 ? std::string_view::npos : a.rfind('/', same - 1);
    return slash == std::string_view::npos ? 0 : slash;
}

}  // namespace quillmoor::ditto
