#include "quillmoor/platform/posix/ground/wake_descriptor_posix.h"

#include <cerrno>
#include <cstdint>
#include <utility>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

[[noreturn]] void throwNoDescriptor() {
    throw Exception(kFileHandleOperationException,
                    "no descriptor could be made: " + systemErrorText(errno));
}

}  // namespace

WakeDescriptor::WakeDescriptor() {
    int ends[2];
    if (systemCalls().wakePair(ends) != 0) throwNoDescriptor();
    waiting_ = Descriptor(ends[0]);
    // One descriptor may be both ends, and is then owned once.
    if (ends[1] != ends[0]) {
        signalling_ = aboveStandardStreams(Descriptor(ends[1]));
        if (!signalling_) throwNoDescriptor();
    }
    waiting_ = aboveStandardStreams(std::move(waiting_));
    if (!waiting_) throwNoDescriptor();
}

void WakeDescriptor::signal() {
    const int end = signalling_ ? signalling_.get() : waiting_.get();
    // The eight bytes that eventfd(2) requires; a pipe takes any number. Where they do not fit any
    // more, EAGAIN, the descriptor is readable already.
    const std::uint64_t one = 1;
    while (systemCalls().write(end, &one, sizeof one) < 0 && errno == EINTR) {
    }
}

// One read empties a counter; a pipe is empty when it returns less than was requested.
void WakeDescriptor::clear() {
    std::uint64_t counts[64];
    ssize_t size = 0;
    do size = systemCalls().read(waiting_.get(), counts, sizeof counts);
    while (size == sizeof counts || (size < 0 && errno == EINTR));
}

}  // namespace quillmoor::platform::posix
