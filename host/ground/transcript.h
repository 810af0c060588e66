// A record of what happens, in plain lines.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace quillmoor::host {

// Lines of the form "kind: text". Each is flushed, so that a script can follow them and a crash
// loses none. For the main thread only.
class Transcript {
  public:
    // Writes to no file.
    Transcript();

    // Writes to a new or emptied file; "-" is standard output. Throws HostError.
    explicit Transcript(const std::string& path);

    void write(std::string_view kind, std::string_view text);

    // Records a problem, and writes it to standard error as well.
    void problem(std::string_view text);

    // Returns true if a line could not be written.
    bool incomplete() const { return incomplete_; }

  private:
    struct Closer {
        void operator()(std::FILE* file) const;
    };
    std::unique_ptr<std::FILE, Closer> file_;
    bool incomplete_ = false;
};

}  // namespace quillmoor::host
