// Where an archive's symbolic links lead, followed through its own other links.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/ditto/entry_tree.h"

namespace quillmoor::ditto {

// Follows links through the list of entries, as the kernel will once they are unpacked. Use one
// resolver for all links of an unpack: it bounds the work that they may cause together.
class LinkResolver {
  public:
    explicit LinkResolver(const EntryTree& tree) : tree_(tree) {}

    // Returns why the link must not be created, or nullptr: its target is absolute, climbs out of
    // the root, climbs out of something that is not a folder of the archive, or needs too many
    // other links.
    const char* objection(const EntryTree::Node& link);

  private:
    const char* follow(std::string_view component);

    const EntryTree& tree_;
    std::string at_;       // the folder reached, as a key
    std::string pending_;  // what is left to follow
    int hops_ = 0;
    std::uint64_t steps_ = 0;
};

}  // namespace quillmoor::ditto
