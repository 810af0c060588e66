// What <unistd.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

#define STDIN_FILENO 0
#define STDOUT_FILENO 1
#define STDERR_FILENO 2
#define F_OK 0
#define X_OK 1
#define W_OK 2
#define R_OK 4
#define SEEK_SET 0
#define SEEK_CUR 1
#define SEEK_END 2
#define SEEK_HOLE 3
#define SEEK_DATA 4

#define _SC_ARG_MAX 1
#define _SC_OPEN_MAX 5
#define _SC_PAGESIZE 29
#define _SC_NPROCESSORS_CONF 57
#define _SC_NPROCESSORS_ONLN 58
#define _SC_GETPW_R_SIZE_MAX 71
#define _SC_GETGR_R_SIZE_MAX 70
#define _PC_NAME_MAX 4
#define _PC_PATH_MAX 5

KX_BEGIN
int access(const char* path, int mode);
int faccessat(int folder, const char* path, int mode, int flags);
int chdir(const char* path);
int fchdir(int descriptor);
int chown(const char* path, uid_t user, gid_t group);
int fchown(int descriptor, uid_t user, gid_t group);
int lchown(const char* path, uid_t user, gid_t group);
int fchownat(int folder, const char* path, uid_t user, gid_t group, int flags);
int close(int descriptor);
int dup(int descriptor);
int dup2(int descriptor, int other);
int execve(const char* path, char* const arguments[], char* const environment[]);
__attribute__((noreturn)) void _exit(int status);
pid_t fork(void);
int fsync(int descriptor);
int ftruncate(int descriptor, off_t length);
char* getcwd(char* buffer, size_t size);
gid_t getegid(void);
uid_t geteuid(void);
gid_t getgid(void);
uid_t getuid(void);
pid_t getpid(void);
pid_t getppid(void);
int isatty(int descriptor);
int issetugid(void);
int link(const char* from, const char* to);
int linkat(int from, const char* path, int to, const char* other, int flags);
off_t lseek(int descriptor, off_t offset, int whence);
long pathconf(const char* path, int name);
int pipe(int descriptors[2]);
ssize_t read(int descriptor, void* buffer, size_t size);
ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset);
ssize_t write(int descriptor, const void* buffer, size_t size);
ssize_t pwrite(int descriptor, const void* buffer, size_t size, off_t offset);
ssize_t readlink(const char* path, char* buffer, size_t size);
ssize_t readlinkat(int folder, const char* path, char* buffer, size_t size);
int rmdir(const char* path);
int setpgid(pid_t process, pid_t group);
pid_t setsid(void);
unsigned int sleep(unsigned int seconds);
int symlink(const char* text, const char* path);
int symlinkat(const char* text, int folder, const char* path);
long sysconf(int name);
size_t confstr(int name, char* buffer, size_t size);
int truncate(const char* path, off_t length);
int unlink(const char* path);
int unlinkat(int folder, const char* path, int flags);
int usleep(useconds_t microseconds);
KX_END

#include <additions/unistd.h>
