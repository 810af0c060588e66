#include "tools/ditto/archive_links.h"

namespace quillmoor::ditto {
namespace {

constexpr int kMostHops = 40;  // the kernel's own limit
// For all links of an unpack together: each alone may lead through forty others.
constexpr std::uint64_t kMostSteps = 1'000'000;
// Links that name each other several times make a path whose length grows exponentially.
constexpr std::size_t kMostPending = 64U << 10U;

}  // namespace

const char* LinkResolver::objection(const EntryTree::Node& link) {
    if (link.entry->linkTarget.starts_with('/')) return "is a link to an absolute path";
    at_ = folderOf(link.key);
    pending_ = link.entry->linkTarget;
    hops_ = 0;
    while (!pending_.empty()) {
        PathComponents components(pending_);
        std::string_view next;
        if (!components.next(next)) break;
        const std::string component(next);
        pending_.erase(0, pending_.size() - components.rest().size());
        if (++steps_ > kMostSteps) return "is one of too many links";
        if (const char* why = follow(component)) return why;
    }
    return nullptr;
}

const char* LinkResolver::follow(std::string_view component) {
    if (component == "..") {
        if (at_.empty()) return "is a link that leads out of the destination";
        const EntryTree::Found here = tree_.find(at_);
        // "name/.." is not simply dropped: a name that is not a folder of the archive may be a link
        // in the destination, which leads elsewhere.
        const bool folder =
            here.item == EntryTree::Item::ImpliedFolder ||
            (here.item == EntryTree::Item::Entry && here.node->entry->kind == Entry::Kind::Folder);
        if (!folder)
            return "is a link that climbs out of something that is not a folder of the archive";
        at_.resize(folderOf(at_).size());
        return nullptr;
    }
    // A name that the archive does not hold is followed as well: if it exists later, it is in the
    // destination.
    const std::size_t before = at_.size();
    if (!at_.empty()) at_ += '/';
    at_ += tree_.keyFor(component);
    const EntryTree::Found found = tree_.find(at_);
    const bool link =
        found.item == EntryTree::Item::Entry && found.node->entry->kind == Entry::Kind::Link;
    if (!link) return nullptr;
    at_.resize(before);  // a relative target begins at the link's folder
    const std::string_view target = found.node->entry->linkTarget;
    if (target.starts_with('/')) return "is a link that leads to an absolute path";
    if (++hops_ > kMostHops || pending_.size() + target.size() >= kMostPending)
        return "is a link that leads through too many others, or round in a circle";
    pending_.insert(0, std::string(target) + '/');
    return nullptr;
}

}  // namespace quillmoor::ditto
