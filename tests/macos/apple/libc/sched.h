// What <sched.h> of macOS declares, as far as the C++ library uses it.
#pragma once

#include <sys/types.h>

KX_BEGIN
int sched_yield(void);
KX_END
