// What <signal.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

#define SIGHUP 1
#define SIGINT 2
#define SIGQUIT 3
#define SIGILL 4
#define SIGTRAP 5
#define SIGABRT 6
#define SIGFPE 8
#define SIGKILL 9
#define SIGBUS 10
#define SIGSEGV 11
#define SIGSYS 12
#define SIGPIPE 13
#define SIGALRM 14
#define SIGTERM 15
#define SIGURG 16
#define SIGSTOP 17
#define SIGTSTP 18
#define SIGCONT 19
#define SIGCHLD 20
#define SIGXFSZ 25
#define SIGUSR1 30
#define SIGUSR2 31
#define NSIG 32

typedef int sig_atomic_t;
typedef uint32_t sigset_t;
union sigval {
    int sival_int;
    void* sival_ptr;
};
typedef struct {
    int si_signo;
    int si_errno;
    int si_code;
    pid_t si_pid;
    uid_t si_uid;
    int si_status;
    void* si_addr;
    union sigval si_value;
    long si_band;
    unsigned long reserved[7];
} siginfo_t;
struct sigaction {
    union {
        void (*handler)(int);
        void (*action)(int, siginfo_t*, void*);
    } function;
    sigset_t sa_mask;
    int sa_flags;
};
#define sa_handler function.handler
#define sa_sigaction function.action

#define SIG_DFL ((void (*)(int))0)
#define SIG_IGN ((void (*)(int))1)
#define SIG_ERR ((void (*)(int)) - 1)
#define SA_RESTART 0x0002
#define SA_NOCLDSTOP 0x0008
#define SA_SIGINFO 0x0040
#define SIG_BLOCK 1
#define SIG_UNBLOCK 2
#define SIG_SETMASK 3
#define CLD_EXITED 1
#define CLD_KILLED 2
#define CLD_DUMPED 3

KX_BEGIN
int kill(pid_t process, int signal);
int killpg(pid_t group, int signal);
int raise(int signal);
int sigaction(int signal, const struct sigaction* action, struct sigaction* previous);
int sigaddset(sigset_t* set, int signal);
int sigdelset(sigset_t* set, int signal);
int sigemptyset(sigset_t* set);
int sigfillset(sigset_t* set);
int sigismember(const sigset_t* set, int signal);
int sigpending(sigset_t* set);
int sigprocmask(int how, const sigset_t* set, sigset_t* previous);
int sigwait(const sigset_t* set, int* signal);
int pthread_sigmask(int how, const sigset_t* set, sigset_t* previous);
void (*signal(int number, void (*handler)(int)))(int);
KX_END
