// close_output_and_hang FILE: closes standard output and standard error, then as hang.
#include <unistd.h>

#include "tests/children/hang.h"

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    quillmoor::test::hang(argv[1]);
}
