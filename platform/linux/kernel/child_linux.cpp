#include <fcntl.h>
#include <sys/pidfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/child_system_posix.h"

namespace quillmoor::platform::posix {

int closeAllButStandardStreams(posix_spawn_file_actions_t* actions, posix_spawnattr_t*) {
    // Last of the actions, since those before it may use descriptors above the standard streams.
    // glibc has it from version 2.34 on.
    return ::posix_spawn_file_actions_addclosefrom_np(actions, kFirstOwnDescriptor);
}

char* const* ownEnvironment() {
    return environ;
}

Descriptor openExitDescriptor(pid_t child) {
    return aboveStandardStreams(Descriptor(linux_::linuxCalls().pidfd_open(child, 0)));
}

int waitForChild(const Descriptor& exitDescriptor, pid_t child, siginfo_t* info, int options) {
    return exitDescriptor ? systemCalls().waitid(P_PIDFD, static_cast<id_t>(exitDescriptor.get()),
                                                 info, options)
                          : systemCalls().waitid(P_PID, static_cast<id_t>(child), info, options);
}

int signalChild(const Descriptor& exitDescriptor, pid_t child, int signal) {
    return exitDescriptor
               ? linux_::linuxCalls().pidfd_send_signal(exitDescriptor.get(), signal, nullptr, 0)
               : systemCalls().kill(child, signal);
}

void enlargePipe(int descriptor) {
    constexpr int kSize = 1 << 20;  // what an ordinary user may ask for
    // EPERM, when the pipes of this user have too many pages already (pipe(7)), leaves the pipe as
    // it is: reading it takes more calls.
    systemCalls().fcntl(descriptor, F_SETPIPE_SZ, kSize);
}

}  // namespace quillmoor::platform::posix
