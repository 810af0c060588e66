// Where an archive's symbolic links lead, followed through its own other links.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/ditto/entry_tree.h"

namespace quillmoor::ditto {

// Follows links textually, as they will lead once they are unpacked. One of these for an archive:
// the work that all its links may cause together is bounded.
class LinkResolver {
  public:
    explicit LinkResolver(const EntryTree& tree) : tree_(tree) {}

    // Why the link must not be made, or nullptr: its target is absolute, climbs out of the root,
    // climbs out of something that is no folder of the archive, or needs too many other links.
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
