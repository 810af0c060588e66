// What <fcntl.h> has only on macOS.
#pragma once

#include <sys/types.h>

#define O_SYMLINK 0x200000
#define F_PREALLOCATE 42
#define F_ALLOCATEALL 0x00000004
#define F_PEOFPOSMODE 3

typedef struct fstore {
    unsigned int fst_flags;
    int fst_posmode;
    off_t fst_offset;
    off_t fst_length;
    off_t fst_bytesalloc;
} fstore_t;
