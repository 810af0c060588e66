// The hooks for what a system has beyond POSIX for its children. The back-end's own folder defines
// them.
#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <csignal>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Adds to a launch that the child gets no descriptor above its standard streams; those it gets,
// also where no action names them. A system does so by an action or by a flag among the attributes:
// called last, when all other actions and flags are set. Returns 0 or the error number. Called for
// each child.
int closeAllButStandardStreams(posix_spawn_file_actions_t* actions, posix_spawnattr_t* attributes);

// Becomes readable when the child ends, and names it as long as it is open, also when the number
// `child` has been given out anew. Close-on-exec, above the standard streams. Invalid where that
// cannot be had: a wait for the child then polls it now and then. Called for each child.
Descriptor openExitDescriptor(pid_t child);

// waitid(2) for one child: by its exit descriptor where it has one. `options` are WEXITED with
// WNOHANG or WNOWAIT. -1 and errno; ECHILD when the status was discarded. Called by Child.
int waitForChild(const Descriptor& exitDescriptor, pid_t child, siginfo_t* info, int options);

// kill(2), likewise. Called by Child for a child that has not been collected.
int signalChild(const Descriptor& exitDescriptor, pid_t child, int signal);

// Gives the pipe more room, as far as the system allows; may do nothing. Called for the pipe of a
// child's standard output.
void enlargePipe(int descriptor);

}  // namespace quillmoor::platform::posix
