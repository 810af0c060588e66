#include "tools/ditto/block_deflater.h"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <exception>
#include <new>

namespace quillmoor::ditto {
namespace {

// libdeflate's level: as fast as its next lower one, and not larger than what zlib makes of a whole
// file at level 6.
constexpr int kWholeLevel = 5;

// zlib's own defaults.
constexpr int kLevel = 6;
constexpr int kMemoryLevel = 8;

}  // namespace

// One thread's compressors, made once and used for all of its blocks.
class BlockDeflater::Deflater {
  public:
    // Negative window bits: a zip entry is deflated data without zlib's header and checksum.
    Deflater() : whole_(::libdeflate_alloc_compressor(kWholeLevel)) {
        if (!whole_ || ::deflateInit2(&stream_, kLevel, Z_DEFLATED, -MAX_WBITS, kMemoryLevel,
                                      Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::bad_alloc();
    }
    ~Deflater() { ::deflateEnd(&stream_); }
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    void compress(Block& block) {
        block.crc = ::libdeflate_crc32(0, block.input.data(), block.size);
        if (block.whole)
            compressWhole(block);
        else
            compressBlock(block);
    }

  private:
    struct Free {
        void operator()(libdeflate_compressor* compressor) const {
            ::libdeflate_free_compressor(compressor);
        }
    };

    void compressWhole(Block& block) {
        // With no more room than the input's size it returns 0 for data that does not shrink, which
        // is then stored.
        const std::size_t size = ::libdeflate_deflate_compress(
            whole_.get(), block.input.data(), block.size, block.output.data(),
            std::min(block.size, block.output.size()));
        block.failed = false;
        block.outputSize = size > 0 ? size : block.size;
    }

    void compressBlock(Block& block) {
        // The end of the previous block as dictionary, and a flush to a whole byte at the end: so
        // the blocks can be compressed at the same time and still be concatenated.
        ::deflateReset(&stream_);
        if (!block.dictionary.empty())
            ::deflateSetDictionary(&stream_, block.dictionary.data(),
                                   static_cast<uInt>(block.dictionary.size()));
        stream_.next_in = block.input.data();
        stream_.avail_in = static_cast<uInt>(block.size);
        stream_.next_out = block.output.data();
        stream_.avail_out = static_cast<uInt>(block.output.size());
        const int status = ::deflate(&stream_, block.last ? Z_FINISH : Z_SYNC_FLUSH);
        // A full output may mean that there is more to come.
        block.failed = status != (block.last ? Z_STREAM_END : Z_OK) || stream_.avail_out == 0;
        block.outputSize = block.output.size() - stream_.avail_out;
    }

    std::unique_ptr<libdeflate_compressor, Free> whole_;
    z_stream stream_ = {};
};

BlockDeflater::BlockDeflater(unsigned threads) {
    while (deflaters_.size() < threads) deflaters_.push_back(std::make_unique<Deflater>());
    try {
        for (const auto& deflater : deflaters_)
            threads_.emplace_back([this, one = deflater.get()] { work(*one); });
    } catch (const std::exception&) {
        // Fewer threads do the same work; without any it would never be done.
        if (threads_.empty()) throw;
    }
}

BlockDeflater::~BlockDeflater() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        waiting_.clear();
    }
    submitted_.notify_all();
    for (platform::posix::Thread& thread : threads_) thread.join();
}

void BlockDeflater::submit(Block& block) {
    {
        const std::lock_guard lock(mutex_);
        block.finished = false;
        waiting_.push_back(&block);
    }
    submitted_.notify_one();
}

void BlockDeflater::wait(const Block& block) {
    std::unique_lock lock(mutex_);
    awaited_ = &block;
    done_.wait(lock, [&] { return block.finished; });
    awaited_ = nullptr;
}

void BlockDeflater::work(Deflater& deflater) {
    std::unique_lock lock(mutex_);
    for (;;) {
        submitted_.wait(lock, [this] { return ended_ || !waiting_.empty(); });
        if (ended_) return;
        Block& block = *waiting_.front();
        waiting_.pop_front();
        lock.unlock();
        deflater.compress(block);
        lock.lock();
        block.finished = true;
        // Only the packer waits, and to be woken for each small file would cost it more than to
        // read one.
        if (awaited_ == &block) done_.notify_one();
    }
}

}  // namespace quillmoor::ditto
