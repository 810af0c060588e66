// The data that the capture benchmark's child writes: blocks of pseudo-random words. The first word
// of each block is its number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace quillmoor::bench {

inline constexpr std::size_t kWordsInBlock = 8192;
inline constexpr std::size_t kBlockSize = kWordsInBlock * sizeof(std::uint64_t);

using Block = std::array<std::uint64_t, kWordsInBlock>;

inline void fillBlock(Block& block) {
    std::uint64_t state = 0x9e3779b97f4a7c15U;
    for (std::uint64_t& word : block) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        word = state;
    }
}

inline void numberBlock(Block& block, std::uint64_t number) {
    block[0] = number;
}

}  // namespace quillmoor::bench
