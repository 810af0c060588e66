// The hooks for what a system has beyond POSIX for its children. The back-end's folder defines
// them. They may be called from any thread.
#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <csignal>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Makes a launch pass no descriptor above the standard streams; those are passed, also where no
// action names them. The caller has seen to those of them that are close-on-exec. A system does so
// by an action or by a flag of the attributes: called last, when all other actions and flags are
// set. Returns 0 or the error number. Called for each child.
int closeAllButStandardStreams(posix_spawn_file_actions_t* actions, posix_spawnattr_t* attributes);

// Returns the environment of this process, as posix_spawn takes it: environ(7), in the way that the
// system gives to plug-ins as well as to programs. Called for each child that inherits it.
char* const* ownEnvironment();

// Returns a descriptor that becomes readable when the child ends, and that identifies it as long as
// it is open, also after the number `child` was reused. Close-on-exec, above the standard streams.
// Invalid where the system has none: the child is then polled. Called for each child.
Descriptor openExitDescriptor(pid_t child);

// waitid(2) for one child: by its exit descriptor where it has one. `options` are WEXITED with
// WNOHANG or WNOWAIT. -1 and errno; ECHILD when the status was discarded. Called by Child.
int waitForChild(const Descriptor& exitDescriptor, pid_t child, siginfo_t* info, int options);

// kill(2) for one child, by its exit descriptor where it has one. Called by Child for a child whose
// status has not been collected.
int signalChild(const Descriptor& exitDescriptor, pid_t child, int signal);

// Enlarges the pipe's buffer, as far as the system allows; may do nothing. Called for the pipe of a
// child's standard output.
void enlargePipe(int descriptor);

}  // namespace quillmoor::platform::posix
