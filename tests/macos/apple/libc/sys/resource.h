// What <sys/resource.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

typedef uint64_t rlim_t;
#define RLIM_INFINITY (((uint64_t)1 << 63) - 1)
#define RLIMIT_CORE 4
#define RLIMIT_NOFILE 8
struct rlimit {
    rlim_t rlim_cur;
    rlim_t rlim_max;
};

KX_BEGIN
int getrlimit(int resource, struct rlimit* result);
int setrlimit(int resource, const struct rlimit* limit);
KX_END
