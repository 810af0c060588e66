#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "quillmoor/platform/posix/trace/trace_areas_posix.h"
#include "quillmoor/platform/posix/trace/traced_authorization_posix.h"
#include "quillmoor/platform/posix/trace/traced_calls_posix.h"
#include "quillmoor/platform/trace.h"

namespace quillmoor::platform {
namespace {

// Null in a program that has rights its starter does not have.
const char* wantedAreas() {
    constexpr char kVariable[] = "KX_TRACE";
#ifdef __GLIBC__
    return ::secure_getenv(kVariable);
#else
    return ::issetugid() != 0 ? nullptr : ::getenv(kVariable);
#endif
}

// Where it is closed, the next file that is opened would get its number and the lines.
bool hasStandardError() {
    return ::fcntl(STDERR_FILENO, F_GETFD) >= 0;
}

}  // namespace

Platform traced(const Platform& services) {
    Platform result = services;
    const char* const wanted = wantedAreas();
    if (wanted == nullptr || !hasStandardError()) return result;
    const posix::TraceAreas areas = posix::traceAreas(wanted);
    if (areas.files || areas.process) {
        posix::traceSystemCalls(areas);
        // The calls that only this system has; the back-end defines it.
        posix::traceOwnCalls(areas);
    }
    if (areas.authorization)
        // Never deleted: services last until the process exits.
        result.authorization = new posix::TracedAuthorization(*services.authorization);
    return result;
}

}  // namespace quillmoor::platform
