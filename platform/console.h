// The system console and standard output.
#pragma once

#include <string_view>

namespace quillmoor::platform {

// May be called from any thread; texts from several threads do not mix within a line. Failures are
// not reported, and a closed reader raises no signal.
class Console {
  public:
    virtual ~Console() = default;

    // `NSLog`: one dated line with the program's name, to standard error and to the system's log.
    virtual void log(std::string_view text) = 0;

    // `printf("%s", …)`: to standard output, unchanged and flushed.
    virtual void print(std::string_view text) = 0;

    // `puts`: to standard output with a newline, and flushed.
    virtual void putString(std::string_view text) = 0;
};

}  // namespace quillmoor::platform
