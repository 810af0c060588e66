// What <sys/file.h> of macOS declares, as far as the project uses it.
#pragma once

#include <fcntl.h>

#define LOCK_SH 0x01
#define LOCK_EX 0x02
#define LOCK_NB 0x04
#define LOCK_UN 0x08

KX_BEGIN
int flock(int descriptor, int operation);
KX_END
