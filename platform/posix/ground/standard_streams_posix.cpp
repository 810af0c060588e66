#include "quillmoor/platform/posix/ground/standard_streams_posix.h"

#include <fcntl.h>

#include <cerrno>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {

Descriptor aboveStandardStreams(Descriptor descriptor) {
    if (!descriptor || descriptor.get() >= kFirstOwnDescriptor) return descriptor;
    // Unlike dup(2) it never returns a number below its argument.
    Descriptor moved(systemCalls().fcntl(descriptor.get(), F_DUPFD_CLOEXEC, kFirstOwnDescriptor));
    const int error = errno;  // close may change it
    descriptor.reset();
    errno = error;
    return moved;
}

}  // namespace quillmoor::platform::posix
