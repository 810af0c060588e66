// Compresses files on several threads: whole, or the largest in blocks.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "quillmoor/platform/posix/ground/thread_posix.h"

namespace quillmoor::ditto {

inline constexpr std::size_t kBlockSize = 512U << 10U;

// A file up to this size is compressed as a whole, which takes that much memory twice.
inline constexpr std::size_t kWholeFile = std::size_t{64} << 20;

// A whole file, or one block of a larger one. The compressed blocks of a file, concatenated, are
// one deflate stream.
struct Block {
    std::vector<unsigned char> input;
    std::size_t size = 0;  // of the input
    bool whole = false;
    std::vector<unsigned char> dictionary;  // the end of the file's previous block
    bool last = false;                      // of its file

    std::vector<unsigned char> output;
    std::size_t outputSize = 0;  // of a whole file that does not shrink, that of the input
    std::uint32_t crc = 0;       // of the input
    bool failed = false;
    bool finished = false;  // owned by the deflater between submit() and wait()

    // Room for a block of a larger file. Deflated data that does not shrink is slightly larger than
    // its input.
    void makeRoomForBlock() {
        input.resize(std::max(input.size(), kBlockSize));
        output.resize(std::max(output.size(), kBlockSize + kBlockSize / 256));
    }
    std::string_view compressed() const {
        return {reinterpret_cast<const char*>(output.data()), outputSize};
    }
    std::string_view plain() const { return {reinterpret_cast<const char*>(input.data()), size}; }
};

// Its destructor drops the blocks that no thread has begun, and waits for the others.
class BlockDeflater {
  public:
    explicit BlockDeflater(unsigned threads);
    ~BlockDeflater();
    BlockDeflater(const BlockDeflater&) = delete;
    BlockDeflater& operator=(const BlockDeflater&) = delete;

    // Blocks are compressed in any order. The caller must not touch the block until wait() for it
    // returns. Only one thread may wait at a time.
    void submit(Block& block);
    void wait(const Block& block);

  private:
    class Deflater;

    void work(Deflater& deflater);

    std::mutex mutex_;
    std::condition_variable submitted_;
    std::condition_variable done_;
    std::deque<Block*> waiting_;
    const Block* awaited_ = nullptr;
    bool ended_ = false;
    std::vector<std::unique_ptr<Deflater>> deflaters_;
    std::vector<platform::posix::Thread> threads_;
};

}  // namespace quillmoor::ditto
