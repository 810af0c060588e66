#include "tools/ditto/pack.h"

#include <fcntl.h>
#include <libdeflate.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/block_deflater.h"
#include "tools/ditto/entry.h"
#include "tools/ditto/entry_tree.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/interruption.h"
#include "tools/ditto/packed_links.h"
#include "tools/ditto/pending_archive.h"
#include "tools/ditto/source_date.h"
#include "tools/ditto/source_tree.h"
#include "tools/ditto/text.h"
#include "tools/ditto/zip_format.h"
#include "tools/ditto/zip_writer.h"

namespace quillmoor::ditto {
namespace {

using platform::posix::systemCalls;

// Deflate's window: no match reaches further back.
constexpr std::size_t kDictionarySize = 32U << 10U;
// A file of this size may grow to 4 GiB while it is packed, and its header, which is written first,
// must then have room for the wide sizes.
constexpr std::int64_t kWideFrom = 0xf0000000;

// The most items, blocks of one file, and bytes of files, in memory at a time; a single file may be
// larger. Small files are compressed in less time than a thread sleeps: many must be waiting, or
// the processors do.
constexpr std::size_t kMostJobs = 128;
constexpr std::size_t kMostBlocks = 16;
constexpr std::size_t kMostBytes = std::size_t{128} << 20;

// Larger blocks are not kept for the next file: many small files would keep the memory of one
// large.
constexpr std::size_t kLargestSpare = std::size_t{64} << 10;

unsigned threadCount() {
    return std::clamp(std::thread::hardware_concurrency(), 2U, 8U);
}

// Reads until the room is full or the file ends.
std::size_t readFully(int file, std::span<unsigned char> room, const std::string& path) {
    std::size_t done = 0;
    while (done < room.size()) {
        const ssize_t got = systemCalls().read(file, room.data() + done, room.size() - done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) failWithErrno(path, "read");
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

// A link's target has at most kLongestName bytes, so the room is never filled and nothing is cut.
std::string targetOf(int folder, const std::string& name, const std::string& path) {
    std::array<char, kLongestName + 1> target = {};
    const ssize_t size =
        systemCalls().readlinkat(folder, name.c_str(), target.data(), target.size());
    if (size < 0) failWithErrno(path, "read");
    return {target.data(), static_cast<std::size_t>(size)};
}

// Reads the items in their order, has their blocks compressed by several threads, and writes them
// in the same order. A bounded number of blocks is in memory at any time.
class Packer {
  public:
    // `newest`, in seconds since 1970, replaces every later date.
    Packer(const SourceTree& tree, std::string prefix, std::int64_t newest, bool verbose,
           ZipWriter& writer)
        : tree_(tree),
          prefix_(std::move(prefix)),
          newest_(newest),
          verbose_(verbose),
          writer_(writer),
          folders_(tree.root()),
          deflater_(threadCount()) {}

    void packAll() {
        if (!prefix_.empty()) packRoot();
        for (const SourceItem& item : tree_.items()) {
            throwIfInterrupted();
            packItem(item);
            if (verbose_) std::fputs((printable(item.path) + '\n').c_str(), stderr);
        }
        while (!jobs_.empty()) finishOldest();
    }

    // After packAll(): why this tool will not unpack the archive, or "".
    std::string objection() const { return linkObjection(tree_, prefix_, linkTargets_); }

  private:
    // A block of a file, or else a whole folder or link.
    struct Job {
        EntryHeader header;  // in a file's first block
        std::unique_ptr<Block> block;
        bool first = false;
        bool wide = false;
        std::string linkTarget;
    };

    EntryHeader headerFor(std::string name, const struct stat& info) const {
        if (name.size() > kLongestName) throw Failure(quoted(name) + ": its name is too long");
        // Without set-ID bits, which unpacking would not set either.
        return {std::move(name), info.st_mode & (S_IFMT | 0777U),
                std::min<std::int64_t>(info.st_mtim.tv_sec, newest_)};
    }

    // The entry of the source itself, in which --keepParent puts everything else.
    void packRoot() {
        struct stat info = {};
        if (systemCalls().fstat(tree_.root(), &info) != 0) failWithErrno(prefix_, "examined");
        writer_.add(headerFor(prefix_, info), zip::kStored, 0, 0, {});
    }

    void packItem(const SourceItem& item) {
        const int folder = folders_.open(folderOf(item.path));
        const std::string name(lastNameOf(item.path));
        if (item.kind == SourceItem::Kind::File) return packFile(folder, name, item.path);
        struct stat info = {};
        if (systemCalls().fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)
            failWithErrno(item.path, "examined");
        const bool isFolder = item.kind == SourceItem::Kind::Folder;
        // The listing is older than this: others may have changed the tree since.
        if (isFolder ? !S_ISDIR(info.st_mode) : !S_ISLNK(info.st_mode))
            throw Failure(quoted(item.path) + " was replaced while it was packed");
        Job job;
        job.header = headerFor(prefix_ + item.path, info);
        if (isFolder) {
            job.header.name += '/';
        } else {
            job.linkTarget = targetOf(folder, name, item.path);
            linkTargets_.push_back(job.linkTarget);
        }
        // Queued like the files, although there is nothing to compress: entries have the tree's
        // order.
        keepBounded(0, kMostJobs);
        jobs_.push_back(std::move(job));
    }

    void packFile(int folder, const std::string& name, const std::string& path) {
        // A link is followed only where it is the source itself.
        const int follow = tree_.isFolder() ? O_NOFOLLOW : 0;
        // The listed file may be a FIFO or a terminal by now: neither may block or take control.
        const Descriptor file(systemCalls().openat(folder, name.c_str(),
                                                   O_RDONLY | O_NONBLOCK | O_NOCTTY | follow, 0));
        if (!file) failWithErrno(path, "opened");
        struct stat info = {};
        if (systemCalls().fstat(file.get(), &info) != 0) failWithErrno(path, "examined");
        if (!S_ISREG(info.st_mode)) throw Failure(quoted(path) + " is no longer a file");
        EntryHeader header = headerFor(prefix_ + path, info);
        if (info.st_size <= static_cast<off_t>(kWholeFile)) {
            const auto expected = static_cast<std::size_t>(info.st_size);
            if (packWhole(file.get(), expected, header, path)) return;
            // It has grown since fstat().
            if (systemCalls().lseek(file.get(), 0, SEEK_SET) != 0) failWithErrno(path, "read");
        }
        packInBlocks(file.get(), std::move(header), info.st_size >= kWideFrom, path);
    }

    // Returns false, with nothing submitted, if the file is larger than kWholeFile.
    bool packWhole(int file, std::size_t expected, EntryHeader& header, const std::string& path) {
        throwIfInterrupted();
        Job job;
        job.block = freeBlock(expected, kMostJobs);
        Block& block = *job.block;
        block.size = 0;
        // One byte more than expected: only a read that does not fill the room has seen the end.
        for (std::size_t room = expected + 1;; room *= 2) {
            if (block.input.size() < room) block.input.resize(std::min(room, kWholeFile + 1));
            block.size += readFully(file, std::span(block.input).subspan(block.size), path);
            if (block.size > kWholeFile) return false;
            if (block.size < block.input.size()) break;
        }
        // No more room than the input has: a file that does not shrink is stored.
        if (block.output.size() < block.size) block.output.resize(block.size);
        block.whole = block.last = true;
        job.header = std::move(header);
        job.first = true;
        submit(std::move(job));
        return true;
    }

    void packInBlocks(int file, EntryHeader header, bool wide, const std::string& path) {
        Job job;
        job.header = std::move(header);
        job.first = true;
        job.wide = wide;
        std::vector<unsigned char> dictionary;
        for (bool last = false; !last; job = Job()) {
            throwIfInterrupted();
            job.block = freeBlock(kBlockSize, kMostBlocks);
            Block& block = *job.block;
            block.makeRoomForBlock();
            block.size = readFully(file, std::span(block.input).first(kBlockSize), path);
            block.whole = false;
            // A file of whole blocks ends with an empty one, which ends the deflate stream.
            block.last = last = block.size < kBlockSize;
            block.dictionary = std::exchange(dictionary, {});
            // A copy: this block may be written and reused before the next one is compressed.
            if (!last)
                dictionary = {block.input.begin() + (kBlockSize - kDictionarySize),
                              block.input.begin() + kBlockSize};
            submit(std::move(job));
        }
    }

    void submit(Job job) {
        Block& block = *job.block;
        bytes_ += block.size;
        // Owned by jobs_ before a thread gets it: the block must outlive the deflater's use of it,
        // whatever is thrown.
        jobs_.push_back(std::move(job));
        deflater_.submit(block);
    }

    // A block, with whatever room it has, once a job of `expected` bytes may be in memory.
    std::unique_ptr<Block> freeBlock(std::size_t expected, std::size_t mostJobs) {
        keepBounded(expected, mostJobs);
        if (spare_.empty()) return std::make_unique<Block>();
        auto block = std::move(spare_.back());
        spare_.pop_back();
        return block;
    }

    void keepBounded(std::size_t next, std::size_t mostJobs) {
        // Half of them at once: to sleep once for each small file would cost more than to read it.
        if (jobs_.size() >= mostJobs) {
            const Job& last = jobs_[jobs_.size() - mostJobs / 2 - 1];
            if (last.block) deflater_.wait(*last.block);
            while (jobs_.size() > mostJobs / 2) finishOldest();
        }
        while (!jobs_.empty() && bytes_ + next > kMostBytes) finishOldest();
    }

    void finishOldest() {
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        if (!job.block) return addUncompressed(job);
        const Block& block = *job.block;
        // From here on no thread uses the block, so what is thrown below may destroy it.
        deflater_.wait(block);
        bytes_ -= block.size;
        if (block.failed) throw Failure(quoted(job.header.name) + " couldn’t be compressed");
        // Headers of a file in one block are written once, with the sums; those of a larger file
        // are patched afterwards.
        if (job.first && block.last) {
            const bool stored = block.outputSize >= block.size;
            writer_.add(job.header, stored ? zip::kStored : zip::kDeflated, block.crc, block.size,
                        stored ? block.plain() : block.compressed());
        } else {
            addToLargeFile(job);
        }
        if (block.input.size() <= kLargestSpare) spare_.push_back(std::move(job.block));
    }

    void addUncompressed(const Job& job) {
        const std::string& text = job.linkTarget;
        writer_.add(job.header, zip::kStored, ::libdeflate_crc32(0, text.data(), text.size()),
                    text.size(), text);
    }

    void addToLargeFile(const Job& job) {
        const Block& block = *job.block;
        if (job.first) {
            writer_.begin(job.header, job.wide);
            crc_ = 0;
            size_ = 0;
        }
        writer_.append(block.compressed());
        // Each block was summed by its own thread. libdeflate cannot join two sums; zlib can.
        crc_ = static_cast<std::uint32_t>(
            ::crc32_combine(crc_, block.crc, static_cast<z_off_t>(block.size)));
        size_ += block.size;
        if (block.last) writer_.end(crc_, size_);
    }

    const SourceTree& tree_;
    const std::string prefix_;  // of every name; ends in a slash
    const std::int64_t newest_;
    const bool verbose_;
    ZipWriter& writer_;
    FolderCache folders_;
    std::deque<Job> jobs_;
    std::size_t bytes_ = 0;  // of the files under way
    std::vector<std::unique_ptr<Block>> spare_;
    std::vector<std::string> linkTargets_;
    std::uint32_t crc_ = 0;  // of the large file under way
    std::uint64_t size_ = 0;
    BlockDeflater deflater_;  // ends before the blocks do
};

}  // namespace

void pack(const Options& options, unsigned umask) {
    const std::optional<std::int64_t> newest = sourceDateEpoch();
    PendingArchive pending(options.destination, umask);
    const SourceTree tree(options.sources.front(), pending.location());
    // Not before the listing, which would find the temporary file of an archive inside its source.
    pending.create();
    ZipWriter writer(pending.file(), options.destination, newest ? DateZone::Utc : DateZone::Local);
    // --keepParent is about folders only, and the root of the file system has no name to keep.
    const bool prefixed = options.keepParent && tree.isFolder() && !tree.name().empty();
    Packer packer(tree, prefixed ? tree.name() + '/' : std::string(),
                  newest.value_or(std::numeric_limits<std::int64_t>::max()), options.verbose,
                  writer);
    packer.packAll();
    writer.finish();
    // Before the archive is in place: if memory runs out here, the old one is unchanged.
    const std::string objection = packer.objection();
    // The last point at which an interruption leaves the old archive.
    throwIfInterrupted();
    pending.putInPlace();
    if (!objection.empty())
        std::fprintf(stderr, "ditto: warning: %s; ditto will not unpack this archive\n",
                     objection.c_str());
}

}  // namespace quillmoor::ditto
