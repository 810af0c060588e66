#include <iconv.h>
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <memory>
#include <optional>
#include <system_error>

#include "quillmoor/base/utf8.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/utf8_posix.h"

namespace quillmoor::platform {
namespace {

struct NamedEncoding {
    StringEncoding encoding;
    const char* name;
};

// iconv's names. Where this system's iconv lacks one, that encoding decodes nothing.
constexpr NamedEncoding kNamedEncodings[] = {
    {StringEncoding::NEXTSTEP, "NEXTSTEP"},       {StringEncoding::JapaneseEUC, "EUC-JP"},
    {StringEncoding::ISOLatin1, "ISO-8859-1"},    {StringEncoding::ShiftJIS, "CP932"},
    {StringEncoding::ISOLatin2, "ISO-8859-2"},    {StringEncoding::WindowsCP1251, "CP1251"},
    {StringEncoding::WindowsCP1252, "CP1252"},    {StringEncoding::WindowsCP1253, "CP1253"},
    {StringEncoding::WindowsCP1254, "CP1254"},    {StringEncoding::WindowsCP1250, "CP1250"},
    {StringEncoding::ISO2022JP, "ISO-2022-JP"},   {StringEncoding::MacOSRoman, "MACINTOSH"},
    {StringEncoding::UTF16BigEndian, "UTF-16BE"}, {StringEncoding::UTF16LittleEndian, "UTF-16LE"},
    {StringEncoding::UTF32BigEndian, "UTF-32BE"}, {StringEncoding::UTF32LittleEndian, "UTF-32LE"},
};

const char* iconvName(StringEncoding encoding) {
    for (const NamedEncoding& each : kNamedEncodings) {
        if (each.encoding == encoding) return each.name;
    }
    return nullptr;
}

// Whole blocks at a time, since a tool's output may be long.
bool isASCII(std::string_view bytes) {
    constexpr std::size_t kBlock = 4096;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(kBlock, bytes.size()))) {
        unsigned char all = 0;
        for (const char byte : bytes.substr(0, kBlock)) all |= static_cast<unsigned char>(byte);
        if (all > 0x7F) return false;
    }
    return true;
}

// True for big-endian: by the mark at the front, which is removed, else this computer's own order.
bool takeByteOrder(std::string_view& bytes, std::string_view bigMark, std::string_view littleMark) {
    if (bytes.starts_with(bigMark)) {
        bytes.remove_prefix(bigMark.size());
        return true;
    }
    if (bytes.starts_with(littleMark)) {
        bytes.remove_prefix(littleMark.size());
        return false;
    }
    return std::endian::native == std::endian::big;
}

struct CloseConverter {
    void operator()(void* converter) const { ::iconv_close(converter); }
};
using Converter = std::unique_ptr<void, CloseConverter>;

Converter openConverter(const char* from) {
    const iconv_t opened = ::iconv_open("UTF-8", from);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): how iconv says that it has no such converter
    return Converter(opened == reinterpret_cast<iconv_t>(-1) ? nullptr : opened);
}

OptionalString convert(std::string_view bytes, const char* from) {
    const Converter converter = openConverter(from);
    if (!converter) return std::nullopt;
    std::string result;
    std::array<char, 8192> buffer{};
    // iconv does not write to its input; its type is older than const.
    char* input = const_cast<char*>(bytes.data());
    std::size_t left = bytes.size();
    for (;;) {
        char* output = buffer.data();
        std::size_t room = buffer.size();
        // After the last byte, one call more gets what a stateful converter still holds.
        const bool last = left == 0;
        const std::size_t converted = ::iconv(converter.get(), last ? nullptr : &input,
                                              last ? nullptr : &left, &output, &room);
        const bool failed = converted == static_cast<std::size_t>(-1);
        // EILSEQ for bytes that are not valid, EINVAL for a text that ends within a character.
        if (failed && errno != E2BIG) return std::nullopt;
        result.append(buffer.data(), buffer.size() - room);
        if (last && !failed) return result;
    }
}

void appendUTF8(std::string& out, char32_t codePoint) {
    std::array<utf8proc_uint8_t, 4> bytes{};
    const auto length = static_cast<std::size_t>(
        utf8proc_encode_char(static_cast<utf8proc_int32_t>(codePoint), bytes.data()));
    out.append(reinterpret_cast<const char*>(bytes.data()), length);
}

// The number that the first `digits` characters spell, which are removed.
std::optional<char32_t> takeNumber(std::string_view& text, std::size_t digits, int base) {
    if (text.size() < digits) return std::nullopt;
    unsigned number = 0;
    const char* end = text.data() + digits;
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end) return std::nullopt;
    text.remove_prefix(digits);
    return static_cast<char32_t>(number);
}

bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// What follows \u; two units where the first is half a pair.
std::optional<char32_t> takeUnits(std::string_view& text) {
    const std::optional<char32_t> first = takeNumber(text, 4, 16);
    // Half a pair alone is not a character and cannot be encoded.
    if (!first || isLowSurrogate(*first)) return std::nullopt;
    if (!isHighSurrogate(*first)) return first;
    if (!text.starts_with("\\u")) return std::nullopt;
    text.remove_prefix(2);
    const std::optional<char32_t> second = takeNumber(text, 4, 16);
    if (!second || !isLowSurrogate(*second)) return std::nullopt;
    return 0x10000 + ((*first - 0xD800) << 10) + (*second - 0xDC00);
}

// What follows a backslash.
std::optional<char32_t> takeEscape(std::string_view& text) {
    if (text.starts_with("\\")) {
        text.remove_prefix(1);
        return U'\\';
    }
    if (text.starts_with("u")) {
        text.remove_prefix(1);
        return takeUnits(text);
    }
    const std::optional<char32_t> byte = takeNumber(text, 3, 8);
    return byte && *byte <= 0xFF ? byte : std::nullopt;
}

// ASCII that spells every other character as an escape: \u and four hexadecimal digits for one
// 16-bit unit, a backslash and three octal digits for one of the first 256 characters, two
// backslashes for one.
OptionalString decodeNonLossyASCII(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const char character = text.front();
        text.remove_prefix(1);
        if (static_cast<unsigned char>(character) > 0x7F) return std::nullopt;
        if (character != '\\') {
            result.push_back(character);
            continue;
        }
        const std::optional<char32_t> codePoint = takeEscape(text);
        if (!codePoint) return std::nullopt;
        appendUTF8(result, *codePoint);
    }
    return result;
}

class PosixText : public Text {
  public:
    OptionalString decode(std::string_view bytes, StringEncoding encoding) override {
        if (bytes.empty()) return std::string();
        switch (encoding) {
            case StringEncoding::ASCII:
                return isASCII(bytes) ? OptionalString(bytes) : std::nullopt;
            case StringEncoding::UTF8:
                return posix::isUTF8(bytes) ? OptionalString(bytes) : std::nullopt;
            case StringEncoding::NonLossyASCII:
                return decodeNonLossyASCII(bytes);
            case StringEncoding::UTF16: {
                const bool big = takeByteOrder(bytes, "\xFE\xFF", "\xFF\xFE");
                return convert(bytes, big ? "UTF-16BE" : "UTF-16LE");
            }
            case StringEncoding::UTF32: {
                using namespace std::string_view_literals;
                const bool big = takeByteOrder(bytes, "\0\0\xFE\xFF"sv, "\xFF\xFE\0\0"sv);
                return convert(bytes, big ? "UTF-32BE" : "UTF-32LE");
            }
            default: {
                const char* name = iconvName(encoding);
                return name != nullptr ? convert(bytes, name) : std::nullopt;
            }
        }
    }

    std::string lowercase(std::string_view text) override {
        std::string result;
        result.reserve(text.size());
        for (std::size_t i = 0; i < text.size();) {
            const Utf8Character character = utf8CharacterAt(text, i);
            const std::string_view same = text.substr(i, character.bytes);
            i += character.bytes;
            if (!character.valid) {
                result.append(same);
            } else if (character.codePoint == 0x130) {
                // The one letter whose lower case is two characters in every language
                // (SpecialCasing.txt of Unicode); the library maps letters one to one.
                result.append("i\xCC\x87");
            } else {
                appendUTF8(result, lowercased(character.codePoint));
            }
        }
        return result;
    }

  private:
    static char32_t lowercased(char32_t codePoint) {
        return static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(codePoint)));
    }
};

}  // namespace

Text* nativeText() {
    static auto* const text = new PosixText;
    return text;
}

}  // namespace quillmoor::platform
