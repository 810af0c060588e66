// What a system has beyond POSIX for its children. Each back-end defines these.
#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <csignal>

#include "platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Adds to a launch that the child gets no descriptor above its standard streams. An error number.
int closeAllButStandardStreams(posix_spawn_file_actions_t* actions);

// Becomes readable when the child ends, and names it as long as it is open, also when the number
// `child` has been given out anew. Invalid where that cannot be had.
Descriptor openExitDescriptor(pid_t child);

// waitid(2) for one child: by its exit descriptor where it has one.
int waitForChild(const Descriptor& exitDescriptor, pid_t child, siginfo_t* info, int options);

// kill(2), likewise.
int signalChild(const Descriptor& exitDescriptor, pid_t child, int signal);

// Gives the pipe more room, as far as the system allows.
void enlargePipe(int descriptor);

}  // namespace quillmoor::platform::posix
