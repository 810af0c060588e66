#include "host/ground/file_io.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "host/ground/host_error.h"

namespace quillmoor::host {
namespace {

// The result is not needed: what was written has been flushed by then.
struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

// "e" in `mode` closes the descriptor in children.
File opened(const std::string& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (!file) throw HostError(std::strerror(errno));
    return file;
}

}  // namespace

std::string readWholeFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error) throw HostError(std::strerror(error.value()));
    // Reading a FIFO would wait for a writer, and a device may never end.
    if (!std::filesystem::is_regular_file(status)) throw HostError("not a regular file");

    const File file = opened(path, "re");
    std::string contents;
    std::array<char, 16384> block;
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), file.get()))
        contents.append(block.data(), got);
    if (std::ferror(file.get()) != 0) throw HostError(std::strerror(errno));
    return contents;
}

void writeWholeFile(const std::string& path, std::string_view contents) {
    File file = opened(path, "we");
    // Some errors, such as a full disk, are reported only when the buffer is flushed.
    const bool written =
        std::fwrite(contents.data(), 1, contents.size(), file.get()) == contents.size();
    if (!written || std::fflush(file.get()) != 0) throw HostError(std::strerror(errno));
}

}  // namespace quillmoor::host
