#include "tools/ditto/entry_reader.h"

#include <algorithm>

#include "tools/ditto/failure.h"
#include "tools/ditto/interruption.h"
#include "tools/ditto/text.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

constexpr std::size_t kInputSize = 128U << 10U;

// Deflated data may be larger than its content, but only slightly if an ordinary tool made it.
// Anything larger is unpacked in pieces, so that it takes no more memory.
constexpr std::size_t kWholeInput = kWholeEntry + kInputSize;

constexpr char kBroken[] = "damaged: its content cannot be unpacked";
constexpr char kTooLong[] = "holds more than its declared size";

// The content must end with the declared size and with the last byte of its data: what is behind it
// would be seen by no check.
void requireEnd(const InputFile& archive, const Entry& entry, std::uint64_t written,
                std::uint64_t unread) {
    if (written != entry.size)
        failAtEntry(archive.path(), entry.name, "holds less than its declared size");
    if (unread > 0) failAtEntry(archive.path(), entry.name, "damaged: data follows its end");
}

}  // namespace

void EntryReader::read(const InputFile& archive, const Entry& entry, PieceSink& sink) {
    if (entry.method == zip::kStored)
        readStored(archive, entry, sink);
    else if (entry.size <= kWholeEntry && entry.compressedSize <= kWholeInput)
        readWhole(archive, entry, sink);
    else
        readInPieces(archive, entry, sink);
    if (sink.finish() != entry.crc)
        failAtEntry(archive.path(), entry.name, "damaged: its checksum does not match");
}

// Straight into the sink's room, so a stored entry of any size needs no memory of its own.
void EntryReader::readStored(const InputFile& archive, const Entry& entry, PieceSink& sink) const {
    for (std::uint64_t done = 0; done < entry.size;) {
        checkpoint();
        const std::uint64_t rest = entry.size - done;
        std::span<unsigned char> room = sink.room(rest);
        room = room.first(std::min<std::uint64_t>(room.size(), rest));
        archive.readAt(entry.dataOffset + done, room);
        sink.accept(room.size());
        done += room.size();
    }
}

void EntryReader::readWhole(const InputFile& archive, const Entry& entry, PieceSink& sink) {
    checkpoint();
    const std::span<unsigned char> packed = input(entry.compressedSize);
    archive.readAt(entry.dataOffset, packed);
    const std::span<unsigned char> room = sink.room(entry.size).first(entry.size);
    const WholeInflater::Result result = whole_.inflate(packed, room);
    if (result.status == WholeInflater::Status::OutputTooSmall)
        failAtEntry(archive.path(), entry.name, kTooLong);
    if (result.status == WholeInflater::Status::Damaged)
        failAtEntry(archive.path(), entry.name, kBroken);
    requireEnd(archive, entry, result.written, packed.size() - result.read);
    sink.accept(result.written);
}

void EntryReader::readInPieces(const InputFile& archive, const Entry& entry, PieceSink& sink) {
    stream_.start();
    std::uint64_t fed = 0;
    std::uint64_t done = 0;
    while (!stream_.isDone()) {
        checkpoint();
        const std::span<unsigned char> room = sink.room(kWholeEntry);
        std::size_t piece = 0;
        while (piece < room.size() && !stream_.isDone()) {
            // A stream whose data ends too early neither takes input nor gives output any more.
            const bool atEnd = stream_.needsInput() && fed == entry.compressedSize;
            if (stream_.needsInput() && !atEnd) fed += feed(archive, entry, fed);
            const auto written = stream_.inflate(room.subspan(piece));
            const bool stuck = atEnd && written == 0U && !stream_.isDone();
            if (!written || stuck) failAtEntry(archive.path(), entry.name, kBroken);
            piece += *written;
        }
        // Before the sink gets it: a hostile entry must not fill the disk.
        if (piece > entry.size - done) failAtEntry(archive.path(), entry.name, kTooLong);
        if (piece > 0) sink.accept(piece);
        done += piece;
    }
    requireEnd(archive, entry, done, stream_.unread() + entry.compressedSize - fed);
}

// Returns the number of bytes fed.
std::uint64_t EntryReader::feed(const InputFile& archive, const Entry& entry, std::uint64_t fed) {
    const std::span<unsigned char> next =
        input(std::min<std::uint64_t>(kInputSize, entry.compressedSize - fed));
    archive.readAt(entry.dataOffset + fed, next);
    stream_.feed(next);
    return next.size();
}

// Only grows: it serves every entry that this thread reads.
std::span<unsigned char> EntryReader::input(std::size_t size) {
    if (input_.size() < size) input_.resize(size);
    return std::span(input_).first(size);
}

// Between two pieces, so that a large entry does not delay the end.
void EntryReader::checkpoint() const {
    throwIfInterrupted();
    if (stop_.load(std::memory_order_relaxed)) throw Stopped();
}

void failAtEntry(const std::string& archivePath, std::string_view name, const std::string& what) {
    throw Failure(printable(archivePath) + ": " + quoted(name) + ": " + what);
}

}  // namespace quillmoor::ditto
