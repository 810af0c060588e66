// read_stdin FILE: writes its number to FILE, then copies standard input to standard output until
// it ends.
#include <unistd.h>

#include "tests/children/hang.h"

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    quillmoor::test::writeNumber(argv[1]);
    char bytes[4096];
    for (ssize_t count = 0; (count = ::read(STDIN_FILENO, bytes, sizeof bytes)) > 0;)
        if (::write(STDOUT_FILENO, bytes, static_cast<std::size_t>(count)) < 0) return 1;
    return 0;
}
