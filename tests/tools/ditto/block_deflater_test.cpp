#include "tools/ditto/block_deflater.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace quillmoor::ditto {
namespace {

constexpr std::size_t kCount = 24;

// Compressible text and noise, in full and in shorter blocks.
std::vector<Block> someBlocks() {
    std::mt19937 random(11);
    std::vector<Block> blocks(kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        Block& block = blocks[i];
        block.makeRoomForBlock();
        const unsigned letters = i % 3 == 0 ? 256 : 4;
        for (unsigned char& byte : block.input)
            byte = static_cast<unsigned char>(random() % letters);
        block.size = i % 4 == 0 ? 1 + random() % kBlockSize : kBlockSize;
        block.last = i % 2 == 0;
        if (i % 5 == 0) block.dictionary.assign(block.input.begin(), block.input.begin() + 32768);
    }
    return blocks;
}

// The compressed blocks, submitted in this order. They are used twice: the result must not depend
// on what a block or a thread was used for before.
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

TEST(DittoBlocks, ThatOutgrowTheirBufferHaveFailed) {
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

// A whole file of this size with `letters` different bytes.
Block wholeFile(std::size_t size, unsigned letters) {
    std::mt19937 random(5);
    Block block;
    block.input.resize(std::max(size, kBlockSize));
    for (unsigned char& byte : block.input) byte = static_cast<unsigned char>(random() % letters);
    block.output.resize(std::max(size, block.output.size()));
    block.size = size;
    block.whole = block.last = true;
    return block;
}

std::string inflated(std::string_view data, std::size_t size) {
    std::string text(size, '\0');
    z_stream stream = {};
    EXPECT_EQ(::inflateInit2(&stream, -MAX_WBITS), Z_OK);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    EXPECT_EQ(::inflate(&stream, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(stream.avail_in, 0U);
    EXPECT_EQ(stream.avail_out, 0U);
    ::inflateEnd(&stream);
    return text;
}

TEST(DittoBlocks, OfAWholeFileAreOneStream) {
    BlockDeflater deflater(2);
    for (const std::size_t size : {std::size_t{100}, kBlockSize, 3 * kBlockSize + 1}) {
        Block block = wholeFile(size, 4);
        deflater.submit(block);
        deflater.wait(block);
        ASSERT_FALSE(block.failed);
        EXPECT_LT(block.outputSize, size / 2);
        const std::string content(block.input.begin(),
                                  block.input.begin() + static_cast<long>(size));
        EXPECT_TRUE(inflated(block.compressed(), size) == content) << size;
        EXPECT_EQ(block.crc, ::crc32_z(0, block.input.data(), size));
    }
}

TEST(DittoBlocks, OfAWholeFileThatDoesNotShrinkHaveItsSize) {
    BlockDeflater deflater(1);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kBlockSize, 2 * kBlockSize}) {
        Block block = wholeFile(size, 256);
        deflater.submit(block);
        deflater.wait(block);
        EXPECT_FALSE(block.failed) << size;
        EXPECT_EQ(block.outputSize, size);
        EXPECT_EQ(block.crc, ::crc32_z(0, block.input.data(), size));
    }
}

}  // namespace
}  // namespace quillmoor::ditto
