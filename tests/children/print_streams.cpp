// print_streams [OUT] [ERR]: the first text on standard output, the second on standard error.
#include <cstdio>

int main(int argc, char** argv) {
    if (argc > 1) std::fputs(argv[1], stdout);
    if (argc > 2) std::fputs(argv[2], stderr);
    return 0;
}
