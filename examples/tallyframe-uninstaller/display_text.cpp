#include "examples/tallyframe-uninstaller/display_text.h"

#include <algorithm>
#include <array>

#include "quillmoor/base/format.h"
#include "quillmoor/base/utf8.h"

namespace quillmoor::tallyframe {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Control characters, and Unicode's format characters that could disguise a path: the soft hyphen
// (AD), the grapheme joiner (34F), the Arabic letter mark (61C), the Hangul fillers (115F, 3164),
// Mongolian selectors (180B), characters without width and marks of direction (200B), line
// separators and embeddings (2028), joiners and isolates (2060), the byte order mark (FEFF),
// annotations (FFF0), tags and variation selectors (E0000).
constexpr std::array<Range, 14> kHidden{{{0x00, 0x1F},
                                         {0x7F, 0x9F},
                                         {0xAD, 0xAD},
                                         {0x034F, 0x034F},
                                         {0x061C, 0x061C},
                                         {0x115F, 0x1160},
                                         {0x180B, 0x180F},
                                         {0x200B, 0x200F},
                                         {0x2028, 0x202E},
                                         {0x2060, 0x206F},
                                         {0x3164, 0x3164},
                                         {0xFEFF, 0xFEFF},
                                         {0xFFF0, 0xFFFB},
                                         {0xE0000, 0xE0FFF}}};

bool isHidden(char32_t codePoint) {
    return std::any_of(kHidden.begin(), kHidden.end(), [=](const Range& range) {
        return codePoint >= range.first && codePoint <= range.last;
    });
}

// Short escapes for what is common, else the number in braces, which any length fits.
std::string escaped(char32_t codePoint) {
    switch (codePoint) {
        case U'\n':
            return "\\n";
        case U'\r':
            return "\\r";
        case U'\t':
            return "\\t";
        default:
            return formatted("\\u{%X}", static_cast<unsigned>(codePoint));
    }
}

}  // namespace

std::string displayText(std::string_view path) {
    std::string out;
    for (std::size_t i = 0; i < path.size();) {
        const Utf8Character character = utf8CharacterAt(path, i);
        if (!character.valid) {
            out += formatted("\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(path[i])));
        } else if (isHidden(character.codePoint)) {
            out += escaped(character.codePoint);
        } else if (character.codePoint == U'\\') {
            out += "\\\\";
        } else {
            out += path.substr(i, character.bytes);
        }
        i += character.bytes;
    }
    return out;
}

}  // namespace quillmoor::tallyframe
