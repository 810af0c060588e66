// What <sys/mman.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

#define PROT_NONE 0x00
#define PROT_READ 0x01
#define PROT_WRITE 0x02
#define PROT_EXEC 0x04
#define MAP_SHARED 0x0001
#define MAP_PRIVATE 0x0002
#define MAP_FIXED 0x0010
#define MAP_ANON 0x1000
#define MAP_ANONYMOUS MAP_ANON
#define MAP_FAILED ((void*)-1)

KX_BEGIN
void* mmap(void* address, size_t size, int protection, int flags, int descriptor, off_t offset);
int munmap(void* address, size_t size);
int madvise(void* address, size_t size, int advice);
KX_END
