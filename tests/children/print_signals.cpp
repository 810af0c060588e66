// print_signals: the numbers of the signals that it blocks or ignores, one a line.
#include <csignal>
#include <cstdio>

int main() {
    sigset_t blocked;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (int number = 1; number <= SIGRTMAX; ++number) {
        struct sigaction action {};
        const bool known = ::sigaction(number, nullptr, &action) == 0;
        if (::sigismember(&blocked, number) == 1) std::printf("blocked %d\n", number);
        if (known && action.sa_handler == SIG_IGN) std::printf("ignored %d\n", number);
    }
    return 0;
}
