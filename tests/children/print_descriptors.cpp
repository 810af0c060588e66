// print_descriptors: the numbers of its open descriptors, one a line.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

int main() {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const int end = static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 65536));
    for (int number = 0; number < end; ++number)
        if (::fcntl(number, F_GETFD) >= 0) std::printf("%d\n", number);
    return 0;
}
