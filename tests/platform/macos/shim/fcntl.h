// Adds what only macOS has of this header.
#pragma once

#include_next <fcntl.h>

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

// The call for this type of argument is the fake's; all others are the C library's.
int fcntl(int file, int command, fstore_t* store) __asm__("macos_fake_preallocate");
