// Unpacks the content of one entry, piece by piece, and checks it against what was declared.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "tools/ditto/entry.h"
#include "tools/ditto/inflater.h"
#include "tools/ditto/input_file.h"

namespace quillmoor::ditto {

// Receives the pieces.
class PieceSink {
  public:
    PieceSink() = default;
    PieceSink(const PieceSink&) = delete;
    PieceSink& operator=(const PieceSink&) = delete;
    virtual ~PieceSink() = default;

    // Returns room for the next piece: at least `wanted` bytes if that is at most kWholeEntry,
    // else at least one.
    virtual std::span<unsigned char> room(std::size_t wanted) = 0;
    // The first `size` bytes of the room are the next piece.
    virtual void accept(std::size_t size) = 0;
    // Returns once all pieces are processed: the CRC-32 of all of them.
    virtual std::uint32_t finish() = 0;
};

// Thrown between two pieces when another thread has failed.
struct Stopped {};

// Reuses its buffers from entry to entry. Each thread needs its own.
class EntryReader {
  public:
    explicit EntryReader(const std::atomic<bool>& stop) : stop_(stop) {}

    // Throws Failure if the content is damaged or longer or shorter than declared; Interrupted and
    // Stopped between two pieces. The sink never receives more than the declared size.
    void read(const InputFile& archive, const Entry& entry, PieceSink& sink);

  private:
    void readStored(const InputFile& archive, const Entry& entry, PieceSink& sink) const;
    void readWhole(const InputFile& archive, const Entry& entry, PieceSink& sink);
    void readInPieces(const InputFile& archive, const Entry& entry, PieceSink& sink);
    std::uint64_t feed(const InputFile& archive, const Entry& entry, std::uint64_t fed);
    std::span<unsigned char> input(std::size_t size);
    void checkpoint() const;

    const std::atomic<bool>& stop_;
    WholeInflater whole_;
    StreamInflater stream_;
    std::vector<unsigned char> input_;
};

// Throws a Failure that names archive and entry: archive.zip: “name”: what
[[noreturn]] void failAtEntry(const std::string& archivePath, std::string_view name,
                              const std::string& what);

}  // namespace quillmoor::ditto
