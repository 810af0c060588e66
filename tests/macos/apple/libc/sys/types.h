// What <sys/types.h> of macOS declares, as far as the project uses it.
#pragma once

#include <additions/linkage.h>
#include <stddef.h>
#include <stdint.h>

typedef int32_t dev_t;
typedef uint64_t ino_t;
typedef uint16_t mode_t;
typedef uint16_t nlink_t;
typedef uint32_t uid_t;
typedef uint32_t gid_t;
typedef uint32_t id_t;
typedef int64_t off_t;
typedef int32_t pid_t;
typedef long ssize_t;
typedef int64_t blkcnt_t;
typedef int32_t blksize_t;
typedef int32_t suseconds_t;
typedef uint32_t useconds_t;
typedef long time_t;
typedef unsigned long clock_t;
typedef uint32_t socklen_t;
typedef unsigned short u_short;
typedef uint16_t u_int16_t;
typedef uint32_t u_int32_t;

struct timespec {
    time_t tv_sec;
    long tv_nsec;
};
struct timeval {
    time_t tv_sec;
    suseconds_t tv_usec;
};

// Some calls of x86_64 exist twice, and the usual name means the one with 64 bits for an inode.
#if defined(__x86_64__)
#define KX_INODE64(name) __asm("_" #name "$INODE64")
#else
#define KX_INODE64(name)
#endif
