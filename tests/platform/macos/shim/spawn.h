// Adds the calls that only macOS has. The C library's own call refuses the flag that it lacks.
#pragma once

#include_next <spawn.h>

#define POSIX_SPAWN_CLOEXEC_DEFAULT 0x4000

extern "C" {
int posix_spawn_file_actions_addinherit_np(posix_spawn_file_actions_t* actions, int file);
int macos_fake_spawnattr_setflags(posix_spawnattr_t* attributes, short flags);
}
#define posix_spawnattr_setflags macos_fake_spawnattr_setflags
