// What <sys/wait.h> of macOS declares, as far as the project uses it.
#pragma once

#include <signal.h>
#include <sys/types.h>

typedef enum { P_ALL, P_PID, P_PGID } idtype_t;

#define WNOHANG 0x01
#define WUNTRACED 0x02
#define WEXITED 0x04
#define WSTOPPED 0x08
#define WCONTINUED 0x10
#define WNOWAIT 0x20
#define WIFEXITED(x) (((x)&0177) == 0)
#define WIFSIGNALED(x) (((x)&0177) != 0177 && ((x)&0177) != 0)
#define WEXITSTATUS(x) (((x) >> 8) & 0xff)
#define WTERMSIG(x) ((x)&0177)

KX_BEGIN
pid_t waitpid(pid_t process, int* status, int options);
int waitid(idtype_t kind, id_t id, siginfo_t* result, int options);
KX_END
