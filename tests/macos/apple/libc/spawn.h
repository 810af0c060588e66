// What <spawn.h> of macOS declares, as far as the project uses it.
#pragma once

#include <signal.h>
#include <sys/types.h>

typedef void* posix_spawnattr_t;
typedef void* posix_spawn_file_actions_t;
#define POSIX_SPAWN_RESETIDS 0x0001
#define POSIX_SPAWN_SETPGROUP 0x0002
#define POSIX_SPAWN_SETSIGDEF 0x0004
#define POSIX_SPAWN_SETSIGMASK 0x0008
#define POSIX_SPAWN_SETSID 0x0400

KX_BEGIN
int posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[],
                char* const environment[]);
int posix_spawnattr_init(posix_spawnattr_t* attributes);
int posix_spawnattr_destroy(posix_spawnattr_t* attributes);
int posix_spawnattr_getflags(const posix_spawnattr_t* attributes, short* flags);
int posix_spawnattr_setflags(posix_spawnattr_t* attributes, short flags);
int posix_spawnattr_setsigdefault(posix_spawnattr_t* attributes, const sigset_t* set);
int posix_spawnattr_setsigmask(posix_spawnattr_t* attributes, const sigset_t* set);
int posix_spawn_file_actions_init(posix_spawn_file_actions_t* actions);
int posix_spawn_file_actions_destroy(posix_spawn_file_actions_t* actions);
int posix_spawn_file_actions_addclose(posix_spawn_file_actions_t* actions, int descriptor);
int posix_spawn_file_actions_adddup2(posix_spawn_file_actions_t* actions, int from, int to);
int posix_spawn_file_actions_addopen(posix_spawn_file_actions_t* actions, int descriptor,
                                     const char* path, int flags, mode_t mode);
KX_END

#include <additions/spawn.h>
