#include "tools/ditto/block_deflater.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace quillmoor::ditto {
namespace {

constexpr std::size_t kCount = 24;

// Text that shrinks and noise that does not, whole blocks and parts of them.
std::vector<Block> someBlocks() {
    std::mt19937 random(11);
    std::vector<Block> blocks(kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        Block& block = blocks[i];
        const unsigned letters = i % 3 == 0 ? 256 : 4;
        for (unsigned char& byte : block.input)
            byte = static_cast<unsigned char>(random() % letters);
        block.size = i % 4 == 0 ? 1 + random() % kBlockSize : kBlockSize;
        block.last = i % 2 == 0;
        if (i % 5 == 0) block.dictionary.assign(block.input.begin(), block.input.begin() + 32768);
    }
    return blocks;
}

// What becomes of the blocks, submitted in this order. They are used twice: what a block or a
// thread did before must not show.
std::vector<std::string> compressed(unsigned threads, const std::vector<std::size_t>& order) {
    std::vector<Block> blocks = someBlocks();
    BlockDeflater deflater(threads);
    for (int round = 0; round < 2; ++round) {
        for (const std::size_t i : order) deflater.submit(blocks[i]);
        for (const Block& block : blocks) deflater.wait(block);
    }
    std::vector<std::string> results;
    for (const Block& block : blocks) {
        EXPECT_FALSE(block.failed);
        results.push_back(std::string(block.compressed()) + std::to_string(block.crc));
    }
    return results;
}

TEST(DittoBlocks, AreTheSameHoweverManyThreadsCompressThem) {
    std::vector<std::size_t> order(kCount);
    for (std::size_t i = 0; i < kCount; ++i) order[i] = i;
    const std::vector<std::string> expected = compressed(1, order);
    for (const unsigned threads : {2U, 3U, 8U}) {
        std::shuffle(order.begin(), order.end(), std::mt19937(threads));
        EXPECT_TRUE(compressed(threads, order) == expected) << threads;
    }
}

TEST(DittoBlocks, ThatDoNotFitTheirRoomHaveFailed) {
    for (const bool last : {false, true}) {
        std::vector<Block> blocks = someBlocks();
        Block& block = blocks.front();
        block.size = kBlockSize;
        block.last = last;
        block.output.resize(1000);
        BlockDeflater deflater(1);
        deflater.submit(block);
        deflater.wait(block);
        EXPECT_TRUE(block.failed) << last;
    }
}

}  // namespace
}  // namespace quillmoor::ditto
