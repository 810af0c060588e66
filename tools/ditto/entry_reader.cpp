#include "tools/ditto/entry_reader.h"

#include <zlib.h>

#include <algorithm>

#include "tools/ditto/failure.h"
#include "tools/ditto/interruption.h"
#include "tools/ditto/text.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

constexpr std::size_t kInputSize = 128U << 10U;

// What is unpacked in one step needs no window.
int flushFor(const Entry& entry, std::size_t room, std::uint64_t fed) {
    return entry.size < room && fed == entry.compressedSize ? Z_FINISH : Z_NO_FLUSH;
}

}  // namespace

struct EntryReader::Inflater {
    Inflater() {
        if (::inflateInit2(&stream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
    }
    ~Inflater() { ::inflateEnd(&stream); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    z_stream stream = {};
};

EntryReader::EntryReader(const std::atomic<bool>& stop)
    : stop_(stop), inflater_(std::make_unique<Inflater>()), input_(kInputSize) {}

EntryReader::~EntryReader() = default;

void EntryReader::read(const InputFile& archive, const Entry& entry, PieceSink& sink) {
    if (entry.method == zip::kStored)
        readStored(archive, entry, sink);
    else
        readDeflated(archive, entry, sink);
    if (sink.finish() != entry.crc)
        failAtEntry(archive.path(), entry.name, "damaged: its checksum is another");
}

void EntryReader::readStored(const InputFile& archive, const Entry& entry, PieceSink& sink) {
    for (std::uint64_t done = 0; done < entry.size;) {
        checkpoint();
        std::span<unsigned char> room = sink.room();
        room = room.first(std::min<std::uint64_t>(room.size(), entry.size - done));
        archive.readAt(entry.dataOffset + done, room);
        sink.accept(room.size());
        done += room.size();
    }
}

void EntryReader::readDeflated(const InputFile& archive, const Entry& entry, PieceSink& sink) {
    z_stream& stream = inflater_->stream;
    ::inflateReset(&stream);
    stream.avail_in = 0;
    std::uint64_t fed = 0;
    std::uint64_t done = 0;
    int status = Z_OK;
    while (status != Z_STREAM_END) {
        checkpoint();
        const std::span<unsigned char> room = sink.room();
        stream.next_out = room.data();
        stream.avail_out = static_cast<uInt>(room.size());
        while (stream.avail_out > 0 && status != Z_STREAM_END) {
            if (stream.avail_in == 0 && fed < entry.compressedSize) {
                const auto size = std::min<std::uint64_t>(kInputSize, entry.compressedSize - fed);
                archive.readAt(entry.dataOffset + fed, std::span(input_).first(size));
                fed += size;
                stream.next_in = input_.data();
                stream.avail_in = static_cast<uInt>(size);
            }
            status = ::inflate(&stream, flushFor(entry, room.size(), fed));
            const bool roomIsFull = status == Z_BUF_ERROR && stream.avail_out == 0;
            if (status != Z_OK && status != Z_STREAM_END && !roomIsFull)
                failAtEntry(archive.path(), entry.name, "damaged: its content cannot be unpacked");
        }
        const std::size_t piece = room.size() - stream.avail_out;
        if (piece > entry.size - done)
            failAtEntry(archive.path(), entry.name, "holds more than its declared size");
        if (piece > 0) sink.accept(piece);
        done += piece;
    }
    if (done != entry.size)
        failAtEntry(archive.path(), entry.name, "holds less than its declared size");
    if (stream.avail_in > 0 || fed < entry.compressedSize)
        failAtEntry(archive.path(), entry.name, "damaged: data follows its end");
}

void EntryReader::checkpoint() const {
    throwIfInterrupted();
    if (stop_.load(std::memory_order_relaxed)) throw Stopped();
}

void failAtEntry(const std::string& archivePath, std::string_view name, const std::string& what) {
    throw Failure(printable(archivePath) + ": " + quoted(name) + ": " + what);
}

}  // namespace quillmoor::ditto
