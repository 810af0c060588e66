// For children that a test wants to find, and to stay.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

namespace quillmoor::test {

// Writes the process's number to `file`, which then is there whole. Should the test die, the child
// ends by itself.
inline void tellNumber(const char* file) {
    ::alarm(60);
    const std::string partial = std::string(file) + ".partial";
    if (std::FILE* out = std::fopen(partial.c_str(), "w")) {
        std::fprintf(out, "%d", static_cast<int>(::getpid()));
        std::fclose(out);
        std::rename(partial.c_str(), file);
    }
}

// And waits for a signal.
[[noreturn]] inline void hang(const char* file) {
    tellNumber(file);
    for (;;) ::pause();
}

}  // namespace quillmoor::test
