// For children that report their process number and wait.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

namespace quillmoor::test {

// Writes the process number to `file`, which appears only when it is complete. An alarm ends the
// child if the test does not.
inline void writeNumber(const char* file) {
    ::alarm(60);
    const std::string partial = std::string(file) + ".partial";
    if (std::FILE* out = std::fopen(partial.c_str(), "w")) {
        std::fprintf(out, "%d", static_cast<int>(::getpid()));
        std::fclose(out);
        std::rename(partial.c_str(), file);
    }
}

// Writes the process number, then waits for a signal.
[[noreturn]] inline void hang(const char* file) {
    writeNumber(file);
    for (;;) ::pause();
}

}  // namespace quillmoor::test
