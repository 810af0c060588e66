#include "tools/ditto/inflater.h"

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

#include <cstdint>
#include <new>

namespace quillmoor::ditto {

// The libraries' types are kept out of the header.
struct WholeInflater::State {
    State() {
        if (inflater == nullptr) throw std::bad_alloc();
    }
    ~State() { ::libdeflate_free_decompressor(inflater); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    libdeflate_decompressor* const inflater = ::libdeflate_alloc_decompressor();
};

WholeInflater::WholeInflater() : state_(std::make_unique<State>()) {}

WholeInflater::~WholeInflater() = default;

WholeInflater::Result WholeInflater::inflate(std::span<const unsigned char> input,
                                             std::span<unsigned char> output) {
    // The extended call reports how much input it took: bytes behind the stream's end are an error
    // of the archive's.
    Result result{Status::Done};
    switch (::libdeflate_deflate_decompress_ex(state_->inflater, input.data(), input.size(),
                                               output.data(), output.size(), &result.read,
                                               &result.written)) {
        case LIBDEFLATE_SUCCESS:
            return result;
        case LIBDEFLATE_INSUFFICIENT_SPACE:
            return {Status::OutputTooSmall};
        default:
            return {Status::Damaged};
    }
}

struct StreamInflater::State {
    inflate_state stream;
};

// Left uninitialised on purpose: start() initialises it, and the state is large.
StreamInflater::StreamInflater() : state_(new State) {}

StreamInflater::~StreamInflater() = default;

void StreamInflater::start() {
    // The initial state reads raw deflate, without a header and a checksum, as in a zip entry.
    ::isal_inflate_init(&state_->stream);
    state_->stream.avail_in = 0;
}

bool StreamInflater::isDone() const {
    return state_->stream.block_state == ISAL_BLOCK_FINISH;
}

bool StreamInflater::needsInput() const {
    return state_->stream.avail_in == 0;
}

void StreamInflater::feed(std::span<const unsigned char> input) {
    // The library's pointer is not const, but it only reads the input.
    state_->stream.next_in = const_cast<std::uint8_t*>(input.data());
    state_->stream.avail_in = static_cast<std::uint32_t>(input.size());
}

std::size_t StreamInflater::unread() const {
    // The library reads ahead into a buffer that it counts in bits.
    return state_->stream.avail_in + static_cast<std::size_t>(state_->stream.read_in_length) / 8;
}

std::optional<std::size_t> StreamInflater::inflate(std::span<unsigned char> output) {
    inflate_state& stream = state_->stream;
    stream.next_out = output.data();
    stream.avail_out = static_cast<std::uint32_t>(output.size());
    if (::isal_inflate(&stream) != ISAL_DECOMP_OK) return std::nullopt;
    return output.size() - stream.avail_out;
}

}  // namespace quillmoor::ditto
