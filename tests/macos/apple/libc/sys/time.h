// What <sys/time.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

KX_BEGIN
int gettimeofday(struct timeval* result, void* zone);
int utimes(const char* path, const struct timeval times[2]);
int futimes(int descriptor, const struct timeval times[2]);
KX_END
