#include "host/ground/transcript.h"

#include <cerrno>
#include <cstring>

#include "host/ground/display_text.h"
#include "host/ground/host_error.h"

namespace quillmoor::host {

// Standard output is not the transcript's to close.
void Transcript::Closer::operator()(std::FILE* file) const {
    if (file != stdout) std::fclose(file);
}

Transcript::Transcript() = default;

// "e" closes the descriptor in children, which scripts and plug-ins start.
Transcript::Transcript(const std::string& path)
    : file_(path == "-" ? stdout : std::fopen(path.c_str(), "we")) {
    if (!file_) throw HostError(std::strerror(errno));
}

// A failure is remembered, not thrown: the run goes on, and its exit status reports it.
void Transcript::write(std::string_view kind, std::string_view text) {
    if (!file_) return;
    const std::string line = std::string(kind) + ": " + onOneLine(text) + "\n";
    const bool written = std::fwrite(line.data(), 1, line.size(), file_.get()) == line.size();
    if (!written || std::fflush(file_.get()) != 0) incomplete_ = true;
}

void Transcript::problem(std::string_view text) {
    const std::string line = "installer-host: " + onOneLine(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    write("problem", text);
}

}  // namespace quillmoor::host
