#include "platform/posix/ground/wake_descriptor_posix.h"

#include <cerrno>
#include <cstdint>

#include "platform/exception.h"
#include "platform/posix/ground/error_text_posix.h"
#include "platform/posix/ground/standard_streams_posix.h"
#include "platform/posix/ground/system_calls_posix.h"

#ifdef __linux__
#include <sys/eventfd.h>
#else
#include <fcntl.h>
#endif

namespace quillmoor::platform::posix {
namespace {

[[noreturn]] void throwNoDescriptor() {
    throw Exception(kFileHandleOperationException,
                    "no descriptor could be made: " + systemErrorText(errno));
}

}  // namespace

#ifdef __linux__

WakeDescriptor::WakeDescriptor()
    : waiting_(
          aboveStandardStreams(Descriptor(systemCalls().eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)))) {
    if (!waiting_) throwNoDescriptor();
}

void WakeDescriptor::signal() {
    const std::uint64_t one = 1;
    while (systemCalls().write(waiting_.get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
}

void WakeDescriptor::clear() {
    std::uint64_t count;
    while (systemCalls().read(waiting_.get(), &count, sizeof count) < 0 && errno == EINTR) {
    }
}

#else

WakeDescriptor::WakeDescriptor() {
    int ends[2];
    if (systemCalls().pipe(ends) != 0) throwNoDescriptor();
    waiting_ = aboveStandardStreams(Descriptor(ends[0]));
    signalling_ = aboveStandardStreams(Descriptor(ends[1]));
    if (!waiting_ || !signalling_) throwNoDescriptor();
    for (const int end : {waiting_.get(), signalling_.get()})
        systemCalls().fcntl(end, F_SETFL, O_NONBLOCK);
}

void WakeDescriptor::signal() {
    const char one = 1;
    while (systemCalls().write(signalling_.get(), &one, 1) < 0 && errno == EINTR) {
    }
}

void WakeDescriptor::clear() {
    char bytes[64];
    ssize_t count = 0;
    do count = systemCalls().read(waiting_.get(), bytes, sizeof bytes);
    while (count > 0 || (count < 0 && errno == EINTR));
}

#endif

}  // namespace quillmoor::platform::posix
