// What <dirent.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

struct dirent {
    uint64_t d_ino;
    uint64_t d_seekoff;
    uint16_t d_reclen;
    uint16_t d_namlen;
    uint8_t d_type;
    char d_name[1024];
};
#define DT_UNKNOWN 0
#define DT_FIFO 1
#define DT_CHR 2
#define DT_DIR 4
#define DT_BLK 6
#define DT_REG 8
#define DT_LNK 10
#define DT_SOCK 12

#define DTTOIF(type) ((type) << 12)

typedef struct _dirdesc DIR;

KX_BEGIN
int closedir(DIR* folder);
int dirfd(DIR* folder);
DIR* fdopendir(int descriptor) KX_INODE64(fdopendir);
DIR* opendir(const char* path) KX_INODE64(opendir);
struct dirent* readdir(DIR* folder) KX_INODE64(readdir);
void rewinddir(DIR* folder) KX_INODE64(rewinddir);
KX_END
