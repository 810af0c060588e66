// print_bytes N [BLOCK]: N bytes of a known pattern on standard output, BLOCK of them at a time.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "tests/children/pattern.h"

int main(int argc, char** argv) {
    std::size_t left = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 0;
    const std::size_t block = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 65536;
    std::size_t offset = 0;
    while (left > 0) {
        const std::string bytes = quillmoor::test::pattern(offset, std::min(block, left));
        const ssize_t written = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (written <= 0) return 1;
        offset += static_cast<std::size_t>(written);
        left -= static_cast<std::size_t>(written);
    }
    return 0;
}
