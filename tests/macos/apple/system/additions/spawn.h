// What <spawn.h> has only on macOS. Include it after the type of the actions is declared.
#pragma once

#include <additions/linkage.h>

#define POSIX_SPAWN_CLOEXEC_DEFAULT 0x4000

KX_BEGIN
int posix_spawn_file_actions_addinherit_np(posix_spawn_file_actions_t* actions, int file);
KX_END
