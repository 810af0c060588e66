#include "tools/command/printable.h"

#include "quillmoor/base/utf8.h"

namespace quillmoor::command {
namespace {

// Control characters, and the marks of writing direction, which can make a name read as another.
bool steersTerminal(char32_t code) {
    return code < 0x20 || (code >= 0x7f && code < 0xa0) || (code >= 0x202a && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069);
}

void appendEscaped(std::string& out, std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        out += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
}

}  // namespace

std::string printable(std::string_view bytes) {
    std::string out;
    while (!bytes.empty()) {
        const Utf8Character found = utf8CharacterAt(bytes, 0);
        const std::string_view character = bytes.substr(0, found.bytes);
        // The backslash as well: otherwise a name could contain what looks like an escape.
        if (!found.valid || found.codePoint == '\\' || steersTerminal(found.codePoint))
            appendEscaped(out, character);
        else
            out += character;
        bytes.remove_prefix(found.bytes);
    }
    return out;
}

std::string quoted(std::string_view bytes) {
    return "“" + printable(bytes) + "”";
}

}  // namespace quillmoor::command
