#include <crt_externs.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/child_system_posix.h"

namespace quillmoor::platform::posix {

// The flag leaves a child only the descriptors that an action has made. The others of the standard
// streams are named; one that is closed here could not be, and the launch would fail.
int closeAllButStandardStreams(posix_spawn_file_actions_t* actions, posix_spawnattr_t* attributes) {
    short flags = 0;
    int error = ::posix_spawnattr_getflags(attributes, &flags);
    const int more = flags | POSIX_SPAWN_CLOEXEC_DEFAULT;
    if (error == 0) error = ::posix_spawnattr_setflags(attributes, static_cast<short>(more));
    for (int stream = 0; stream < kFirstOwnDescriptor && error == 0; ++stream)
        if (systemCalls().fcntl(stream, F_GETFD, 0) >= 0)
            error = ::posix_spawn_file_actions_addinherit_np(actions, stream);
    return error;
}

// Only programs can link `environ`.
char* const* ownEnvironment() {
    return *::_NSGetEnviron();
}

// None: the system's own notice of a child's end may come before its status can be collected.
Descriptor openExitDescriptor(pid_t) {
    return {};
}

int waitForChild(const Descriptor&, pid_t child, siginfo_t* info, int options) {
    return systemCalls().waitid(P_PID, static_cast<id_t>(child), info, options);
}

int signalChild(const Descriptor&, pid_t child, int signal) {
    return systemCalls().kill(child, signal);
}

// The system enlarges a pipe's buffer itself as it fills.
void enlargePipe(int) {}

}  // namespace quillmoor::platform::posix
