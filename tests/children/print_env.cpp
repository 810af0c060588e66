// print_env: each variable of its environment on standard output, each ended by a NUL.
#include <unistd.h>

#include <cstdio>
#include <cstring>

int main() {
    for (char** each = environ; *each != nullptr; ++each)
        std::fwrite(*each, 1, std::strlen(*each) + 1, stdout);
    return 0;
}
