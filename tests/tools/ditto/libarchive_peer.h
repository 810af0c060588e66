// Another implementation of zip, for comparison.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillmoor::test {

struct PeerEntry {
    std::string name;  // a folder's without its slash
    std::uint32_t mode = 0;
    std::int64_t modified = 0;
    std::string linkTarget;
    std::string content;
};

// Throws std::runtime_error for any error that it finds.
std::vector<PeerEntry> readWithPeer(const std::string& archive);

// Packs the contents of a folder.
void writeWithPeer(const std::string& archive, const std::string& folder);

}  // namespace quillmoor::test
