// write_then_hang FILE TEXT: the text on standard output, then as hang.
#include <unistd.h>

#include <cstring>

#include "tests/children/hang.h"

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    if (::write(STDOUT_FILENO, argv[2], std::strlen(argv[2])) < 0) return 1;
    quillmoor::test::hang(argv[1]);
}
