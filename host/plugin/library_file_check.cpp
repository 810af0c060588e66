#include "host/plugin/library_file_check.h"

#include <link.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "host/ground/host_error.h"

namespace quillmoor::host {
namespace {

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);

// The loader refuses files of the other word size.
constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// The end of a part of the file; the largest number if the sum of hostile values overflows.
std::uint64_t endOf(std::uint64_t offset, std::uint64_t size) {
    return size > UINT64_MAX - offset ? UINT64_MAX : offset + size;
}

void checkWithin(std::uint64_t end, std::uint64_t size) {
    if (end > size)
        throw HostError("a part of it ends at byte " + std::to_string(end) + ", the file at byte " +
                        std::to_string(size));
}

// The offset is within the file's size, so off_t can hold it.
bool readAt(std::FILE* file, std::uint64_t offset, void* to, std::size_t size) {
    return ::fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0 &&
           std::fread(to, size, 1, file) == 1;
}

// A table with entries of another size could not be read as Segments.
bool isForThisMachine(const Header& header) {
    return std::string_view(reinterpret_cast<const char*>(header.e_ident), SELFMAG) == ELFMAG &&
           header.e_ident[EI_CLASS] == kClass && header.e_phentsize == sizeof(Segment);
}

}  // namespace

void checkIsComplete(const std::string& path) {
    const std::unique_ptr<std::FILE, Closer> file(std::fopen(path.c_str(), "re"));
    if (!file || ::fseeko(file.get(), 0, SEEK_END) != 0) throw HostError(std::strerror(errno));
    const auto size = static_cast<std::uint64_t>(::ftello(file.get()));
    Header header{};
    if (!readAt(file.get(), 0, &header, sizeof header) || !isForThisMachine(header)) return;

    // The table first: its entries are read from it. Both numbers are the file's own and may be
    // wrong.
    std::vector<Segment> segments(header.e_phnum);
    const std::size_t bytes = segments.size() * sizeof(Segment);
    checkWithin(endOf(header.e_phoff, bytes), size);
    if (bytes > 0 && !readAt(file.get(), header.e_phoff, segments.data(), bytes))
        throw HostError("its table of segments cannot be read");
    for (const Segment& segment : segments)
        checkWithin(endOf(segment.p_offset, segment.p_filesz), size);
}

}  // namespace quillmoor::host
