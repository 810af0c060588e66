// fill_errors FILE: writes a little to standard error, its number to FILE, then more to standard
// error than a pipe holds, with standard output open, and then "done" to standard output.
#include <unistd.h>

#include <string>

#include "tests/children/hang.h"

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    const std::string little(std::size_t{4} << 10, 'e');
    const std::string much(std::size_t{300} << 10, 'e');
    if (::write(STDERR_FILENO, little.data(), little.size()) < 0) return 1;
    quillmoor::test::writeNumber(argv[1]);
    if (::write(STDERR_FILENO, much.data(), much.size()) < 0) return 1;
    return ::write(STDOUT_FILENO, "done", 4) < 0 ? 1 : 0;
}
