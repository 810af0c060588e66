// What <limits.h> of macOS adds to the compiler's own.
#pragma once

// Where the compiler's own comes first, it includes this one.
#if __has_include_next(<limits.h>)
#include_next <limits.h>
#endif

#define ARG_MAX (1024 * 1024)
#define IOV_MAX 1024
#define NAME_MAX 255
#define PATH_MAX 1024
#define PIPE_BUF 512
#define SSIZE_MAX LONG_MAX
