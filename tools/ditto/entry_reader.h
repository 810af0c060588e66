// The content of one entry, unpacked piece by piece and checked against what was declared.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "tools/ditto/entry.h"
#include "tools/ditto/inflater.h"
#include "tools/ditto/input_file.h"

namespace quillmoor::ditto {

// Where the pieces go.
class PieceSink {
  public:
    PieceSink() = default;
    PieceSink(const PieceSink&) = delete;
    PieceSink& operator=(const PieceSink&) = delete;
    virtual ~PieceSink() = default;

    // Room for the next piece: `wanted` bytes where that is at most kWholeEntry, else any, but
    // some.
    virtual std::span<unsigned char> room(std::size_t wanted) = 0;
    // The first `size` bytes of the room are the next piece.
    virtual void accept(std::size_t size) = 0;
    // All pieces have been taken care of. Returns the CRC-32 of them all.
    virtual std::uint32_t finish() = 0;
};

// Thrown between two pieces when another thread has failed.
struct Stopped {};

// Keeps its buffers from entry to entry: one for each thread.
class EntryReader {
  public:
    explicit EntryReader(const std::atomic<bool>& stop) : stop_(stop) {}

    // Throws Failure when the content is damaged or is longer or shorter than declared, and never
    // gives the sink more than the declared size; Interrupted and Stopped between two pieces.
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

// A failure that names archive and entry: archive.zip: “name”: what
[[noreturn]] void failAtEntry(const std::string& archivePath, std::string_view name,
                              const std::string& what);

}  // namespace quillmoor::ditto
