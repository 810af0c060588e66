// print_args ARGUMENT…: its own name and each argument on standard output, each ended by a NUL.
#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    for (int i = 0; i < argc; ++i) std::fwrite(argv[i], 1, std::strlen(argv[i]) + 1, stdout);
    return 0;
}
