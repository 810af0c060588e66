// What happened, in plain lines.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace quillmoor::host {

// Lines of the form "kind: text", each written at once. Belongs to the main thread.
class Transcript {
  public:
    // Writes nowhere.
    Transcript();

    // Writes to a new or emptied file; "-" is standard output. Throws HostError.
    explicit Transcript(const std::string& path);

    void write(std::string_view kind, std::string_view text);

    // Something went wrong: also told on standard error.
    void problem(std::string_view text);

    // Some line could not be written.
    bool incomplete() const { return incomplete_; }

  private:
    struct Closer {
        void operator()(std::FILE* file) const;
    };
    std::unique_ptr<std::FILE, Closer> file_;
    bool incomplete_ = false;
};

}  // namespace quillmoor::host
