#include "tools/ditto/archive_validation.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "tools/ditto/archive_links.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

// The most bytes that one deflated byte can expand to: a match of 258 bytes takes two bits.
constexpr std::uint64_t kBestRatio = 1032;

// These return why an entry must not be unpacked, as the end of a message that begins with the
// entry's name, or nullptr.
const char* nameObjection(const Entry& entry) {
    const std::string_view name = entry.name;
    if (name.empty()) return "it has no name";
    if (name.find('\0') != std::string_view::npos) return "its name holds a NUL";
    if (name.front() == '/') return "its name is absolute";
    if (name.size() > kLongestName) return "its name is too long";
    std::string_view component;
    bool any = false;
    for (PathComponents components(name); components.next(component); any = true) {
        if (component == "..") return "its name holds “..”";
        if (component.size() > kLongestComponent) return "a part of its name is too long";
    }
    // "./" is the root itself, which some packers write as an entry.
    return any || entry.kind == Entry::Kind::Folder ? nullptr : "it has no name";
}

const char* linkObjection(const Entry& entry) {
    if (entry.name.ends_with('/')) return "it is a folder by its name and a link by its mode";
    if (entry.size == 0) return "it is a link without a target";
    if (entry.size > kLongestName) return "it is a link with too long a target";
    if (entry.linkTarget.find('\0') != std::string_view::npos)
        return "it is a link whose target holds a NUL";
    return nullptr;
}

const char* kindObjection(const Entry& entry) {
    switch (entry.kind) {
        case Entry::Kind::Special:
            return "it is neither a file nor a folder nor a link";
        case Entry::Kind::Link:
            return linkObjection(entry);
        case Entry::Kind::Folder:
            return entry.size > 0 ? "it is a folder with content" : nullptr;
        case Entry::Kind::File:
            break;
    }
    return nullptr;
}

const char* contentObjection(const Entry& entry) {
    // Masked: the directory was encrypted, and local headers do not show the true values.
    if ((entry.flags & (zip::kFlagEncrypted | zip::kFlagStrongEncryption | zip::kFlagMasked)) != 0)
        return "it is encrypted";
    if ((entry.flags & zip::kFlagPatched) != 0) return "it is a patch";
    if (entry.method == zip::kStored) {
        if (entry.size != entry.compressedSize) return "its two sizes contradict each other";
    } else if (entry.method != zip::kDeflated) {
        return "its compression method is unknown";
    } else if (entry.size / kBestRatio > entry.compressedSize) {  // a product could overflow
        return "it declares more than its data can hold";
    }
    if (entry.localHeaderDiffers) return "its two headers contradict each other";
    return nullptr;
}

const char* objection(const Entry& entry) {
    if (const char* why = nameObjection(entry)) return why;
    if (const char* why = contentObjection(entry)) return why;
    return kindObjection(entry);
}

// Entries that share bytes can make a small archive expand without bound, below the limit of any
// single entry.
const Entry* findOverlap(std::span<const Entry> entries) {
    const auto sortsBefore = [](const Entry* a, const Entry* b) {
        return a->archive != b->archive ? a->archive < b->archive
                                        : a->headerOffset < b->headerOffset;
    };
    std::vector<const Entry*> order(entries.size());
    std::transform(entries.begin(), entries.end(), order.begin(),
                   [](const Entry& entry) { return &entry; });
    // Most directories have the order of the data already.
    if (!std::is_sorted(order.begin(), order.end(), sortsBefore))
        std::sort(order.begin(), order.end(), sortsBefore);
    for (std::size_t i = 1; i < order.size(); ++i) {
        const Entry& before = *order[i - 1];
        if (before.archive == order[i]->archive &&
            order[i]->headerOffset < before.dataOffset + before.compressedSize)
            return order[i];
    }
    return nullptr;
}

const char* sameNameObjection(const Entry& one, const Entry& other) {
    // Archives that are unpacked together may share folders. In one archive even a folder's second
    // entry is refused: it could differ in mode or date.
    const bool folders = one.kind == Entry::Kind::Folder && other.kind == Entry::Kind::Folder;
    if (folders && one.archive != other.archive) return nullptr;
    return one.kind == other.kind ? "its name occurs twice"
                                  : "its name occurs twice, as two kinds of item";
}

// Why an entry that is inside `outer` must not be written, or nullptr.
const char* insideObjection(const Entry& outer) {
    switch (outer.kind) {
        case Entry::Kind::Folder:
            return nullptr;
        case Entry::Kind::Link:
            return "it would be written through a link of the archive";
        default:
            return "it is inside a file of the archive";
    }
}

// The items that `path` adds to the tree. Folders that are only implied by names count like
// entries: a short archive could imply a great number.
std::uint64_t newItems(std::string_view before, std::string_view path) {
    const std::string_view added = path.substr(commonFolders(before, path));
    std::uint64_t count = 0;
    std::string_view component;
    for (PathComponents components(added); components.next(component);) ++count;
    return count;
}

std::optional<Refusal> validateNeighbours(const EntryTree& tree, const Limits& limits) {
    // Neighbours are sufficient: in the tree's order, what claims to be inside an item follows it
    // at once.
    const EntryTree::Node* before = nullptr;
    std::uint64_t count = 0;
    for (const EntryTree::Node& node : tree.nodes()) {
        const char* why = nullptr;
        if (before != nullptr && before->key == node.key)
            why = sameNameObjection(*before->entry, *node.entry);
        else if (before != nullptr && isInside(node.key, before->key))
            why = insideObjection(*before->entry);
        if (why != nullptr) return Refusal{node.entry, why};
        count += newItems(before == nullptr ? std::string_view() : before->key, node.key);
        if (count > limits.count) return Refusal{nullptr, "too many items"};
        before = &node;
    }
    return std::nullopt;
}

}  // namespace

std::optional<Refusal> validateEntries(std::span<const Entry> entries, const Limits& limits) {
    // Counted down: the sum of hostile sizes could overflow.
    std::uint64_t left = limits.size;
    for (const Entry& entry : entries) {
        if (const char* why = objection(entry)) return Refusal{&entry, why};
        if (entry.size > left)
            return Refusal{nullptr, "more than " + std::to_string(limits.size) +
                                        " bytes when unpacked (--max-size allows more)"};
        left -= entry.size;
    }
    if (entries.size() > limits.count) return Refusal{nullptr, "too many items"};
    if (const Entry* entry = findOverlap(entries))
        return Refusal{entry, "it shares its bytes with another entry"};
    return std::nullopt;
}

std::optional<Refusal> validateTree(const EntryTree& tree, const Limits& limits) {
    if (auto refusal = validateNeighbours(tree, limits)) return refusal;
    // After the names: links are followed through a tree in which each name occurs once.
    LinkResolver resolver(tree);
    for (const EntryTree::Node& node : tree.nodes()) {
        if (node.entry->kind != Entry::Kind::Link) continue;
        if (const char* why = resolver.objection(node))
            return Refusal{node.entry, std::string("it ") + why};
    }
    return std::nullopt;
}

bool isAppleDouble(std::string_view path) {
    return isInside(path, "__MACOSX") && lastNameOf(path).starts_with("._");
}

}  // namespace quillmoor::ditto
