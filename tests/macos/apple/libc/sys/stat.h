// What <sys/stat.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

#define S_IFMT 0170000
#define S_IFIFO 0010000
#define S_IFCHR 0020000
#define S_IFDIR 0040000
#define S_IFBLK 0060000
#define S_IFREG 0100000
#define S_IFLNK 0120000
#define S_IFSOCK 0140000
#define S_ISBLK(m) (((m)&S_IFMT) == S_IFBLK)
#define S_ISCHR(m) (((m)&S_IFMT) == S_IFCHR)
#define S_ISDIR(m) (((m)&S_IFMT) == S_IFDIR)
#define S_ISFIFO(m) (((m)&S_IFMT) == S_IFIFO)
#define S_ISREG(m) (((m)&S_IFMT) == S_IFREG)
#define S_ISLNK(m) (((m)&S_IFMT) == S_IFLNK)
#define S_ISSOCK(m) (((m)&S_IFMT) == S_IFSOCK)
#define S_ISUID 0004000
#define S_ISGID 0002000
#define S_ISVTX 0001000
#define S_IRWXU 0000700
#define S_IRUSR 0000400
#define S_IWUSR 0000200
#define S_IXUSR 0000100
#define S_IRWXG 0000070
#define S_IRGRP 0000040
#define S_IWGRP 0000020
#define S_IXGRP 0000010
#define S_IRWXO 0000007
#define S_IROTH 0000004
#define S_IWOTH 0000002
#define S_IXOTH 0000001

#define UTIME_NOW -1
#define UTIME_OMIT -2

struct stat {
    dev_t st_dev;
    mode_t st_mode;
    nlink_t st_nlink;
    ino_t st_ino;
    uid_t st_uid;
    gid_t st_gid;
    dev_t st_rdev;
    struct timespec st_atimespec;
    struct timespec st_mtimespec;
    struct timespec st_ctimespec;
    struct timespec st_birthtimespec;
    off_t st_size;
    blkcnt_t st_blocks;
    blksize_t st_blksize;
    uint32_t st_flags;
    uint32_t st_gen;
    int32_t st_lspare;
    int64_t st_qspare[2];
};

KX_BEGIN
int stat(const char* path, struct stat* result) KX_INODE64(stat);
int lstat(const char* path, struct stat* result) KX_INODE64(lstat);
int fstat(int descriptor, struct stat* result) KX_INODE64(fstat);
int fstatat(int folder, const char* path, struct stat* result, int flags) KX_INODE64(fstatat);
int chmod(const char* path, mode_t mode);
int fchmod(int descriptor, mode_t mode);
int fchmodat(int folder, const char* path, mode_t mode, int flags);
int mkdir(const char* path, mode_t mode);
int mkdirat(int folder, const char* path, mode_t mode);
int mkfifo(const char* path, mode_t mode);
// Since macOS 13.
int mkfifoat(int folder, const char* path, mode_t mode);
int mknod(const char* path, mode_t mode, dev_t device);
mode_t umask(mode_t mask);
int futimens(int descriptor, const struct timespec times[2]);
int utimensat(int folder, const char* path, const struct timespec times[2], int flags);
KX_END

#include <additions/sys/stat.h>
