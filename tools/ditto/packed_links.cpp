#include "tools/ditto/packed_links.h"

#include "tools/ditto/archive_links.h"
#include "tools/ditto/entry.h"
#include "tools/ditto/text.h"

namespace quillmoor::ditto {
namespace {

Entry::Kind kindOf(SourceItem::Kind kind) {
    switch (kind) {
        case SourceItem::Kind::Folder:
            return Entry::Kind::Folder;
        case SourceItem::Kind::Link:
            return Entry::Kind::Link;
        case SourceItem::Kind::File:
            break;
    }
    return Entry::Kind::File;
}

}  // namespace

std::string linkObjection(const SourceTree& tree, std::string_view prefix,
                          const std::vector<std::string>& targets) {
    // Spares most packs the tree.
    if (targets.empty()) return {};
    // Names, kinds and targets are all that the resolver reads.
    EntryList list;
    list.entries.reserve(tree.items().size());
    auto target = targets.begin();
    for (const SourceItem& item : tree.items()) {
        Entry entry;
        entry.name = list.keep(std::string(prefix) + item.path);
        entry.kind = kindOf(item.kind);
        // The targets were collected in the tree's order.
        if (entry.kind == Entry::Kind::Link) entry.linkTarget = *target++;
        list.entries.push_back(entry);
    }
    // By exact names: where the archive will be unpacked is not known.
    const EntryTree entries(list.entries, FoldCase::No);
    LinkResolver resolver(entries);
    for (const EntryTree::Node& node : entries.nodes()) {
        if (node.entry->kind != Entry::Kind::Link) continue;
        if (const char* why = resolver.objection(node)) return quoted(node.path) + ' ' + why;
    }
    return {};
}

}  // namespace quillmoor::ditto
