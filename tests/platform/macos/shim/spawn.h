// The C library's header and what it has only on macOS. The C library's own call refuses the flag
// that it lacks.
#pragma once

#include_next <spawn.h>

#include <additions/spawn.h>

extern "C" int macos_fake_spawnattr_setflags(posix_spawnattr_t* attributes, short flags);
#define posix_spawnattr_setflags macos_fake_spawnattr_setflags
