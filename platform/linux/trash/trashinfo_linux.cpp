#include "quillmoor/platform/linux/trash/trashinfo_linux.h"

#include <time.h>

namespace quillmoor::platform::linux_ {
namespace {

// Not isalnum, which depends on the locale.
bool staysAsItIs(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-._~/").find(c) != std::string_view::npos;
}

// As the Trash specification demands, byte by byte: a path need not be valid in any encoding.
std::string percentEncoded(std::string_view path) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : path) {
        if (staysAsItIs(c)) {
            text += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        text += '%';
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

std::string localTime(std::time_t time) {
    struct tm parts {};
    char text[64] = "";
    ::localtime_r(&time, &parts);
    return {text, ::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts)};
}

}  // namespace

std::string trashInfo(std::string_view path, std::time_t deleted) {
    return "[Trash Info]\nPath=" + percentEncoded(path) + "\nDeletionDate=" + localTime(deleted) +
           "\n";
}

}  // namespace quillmoor::platform::linux_
