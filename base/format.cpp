#include "quillmoor/base/format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "quillmoor/base/strings.h"

namespace quillmoor {
namespace {

using Kind = FormatArgument::Kind;
using format_detail::isDigit;
using format_detail::isFlag;
using format_detail::lengthAt;

// A format that is known only at run time must not be able to demand gigabytes of padding.
constexpr std::size_t kMaximumWidth = 4096;

struct Directive {
    bool left = false, plus = false, space = false, alternative = false, zero = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    std::string_view length;
    char conversion = 0;
    std::size_t bytes = 0;  // of the whole directive, with its %
};

// Clamped at each digit: a long run of digits cannot overflow.
std::size_t readNumber(std::string_view text, std::size_t& i) {
    std::size_t number = 0;
    for (; i < text.size() && isDigit(text[i]); ++i)
        number = std::min(number * 10 + static_cast<std::size_t>(text[i] - '0'), kMaximumWidth);
    return number;
}

void setFlag(Directive& directive, char flag) {
    switch (flag) {
        case '-':
            directive.left = true;
            break;
        case '+':
            directive.plus = true;
            break;
        case ' ':
            directive.space = true;
            break;
        case '#':
            directive.alternative = true;
            break;
        default:
            directive.zero = true;
            break;
    }
}

// The directive that begins at the % at the start of `text`; conversion 0 when it is unfinished.
Directive parseDirective(std::string_view text) {
    Directive directive;
    std::size_t i = 1;
    for (; i < text.size() && isFlag(text[i]); ++i) setFlag(directive, text[i]);
    directive.width = readNumber(text, i);
    if (i < text.size() && text[i] == '.') directive.precision = readNumber(text, ++i);
    directive.length = lengthAt(text.substr(i));
    i += directive.length.size();
    if (i < text.size()) {
        directive.conversion = text[i];
        directive.bytes = i + 1;
    }
    return directive;
}

void appendPadded(std::string& out, std::string_view text, const Directive& directive,
                  std::size_t units) {
    const std::size_t padding = directive.width > units ? directive.width - units : 0;
    if (!directive.left) out.append(padding, ' ');
    out.append(text);
    if (directive.left) out.append(padding, ' ');
}

void appendText(std::string& out, const Directive& directive, const FormatArgument& argument) {
    std::string_view text = argument.kind == Kind::Text ? argument.text : "(null)";
    if (directive.width == 0 && !directive.precision) {
        out.append(text);
        return;
    }
    std::string cut;
    if (directive.precision) text = cut = substringToIndex(text, *directive.precision);
    appendPadded(out, text, directive, lengthInUnits(text));
}

// Sign or prefix, zeros, digits, padded.
void appendNumber(std::string& out, const Directive& directive, std::string_view prefix,
                  std::string_view digits, bool zeroFill) {
    const std::size_t length = prefix.size() + digits.size();
    std::string text(prefix);
    if (zeroFill && !directive.left && directive.width > length)
        text.append(directive.width - length, '0');
    text.append(digits);
    appendPadded(out, text, directive, text.size());
}

std::string_view signPrefix(const Directive& directive, bool negative) {
    if (negative) return "-";
    return directive.plus ? "+" : directive.space ? " " : "";
}

// Not std::toupper, which depends on the locale. A number, "inf" and "nan" have no other characters
// from 'a' on.
void makeCapital(std::string& digits) {
    for (char& c : digits)
        if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
}

void appendInteger(std::string& out, const Directive& directive, std::uint64_t magnitude,
                   std::string_view prefix) {
    const char conversion = directive.conversion;
    const int base = conversion == 'x' || conversion == 'X' || conversion == 'p' ? 16
                     : conversion == 'o'                                         ? 8
                                                                                 : 10;
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, magnitude, base).ptr;
    std::string digits(buffer, end);
    if (conversion == 'X') makeCapital(digits);
    // As C requires: a zero with a precision of zero has no digits.
    if (directive.precision && *directive.precision == 0 && magnitude == 0) digits.clear();
    if (directive.precision && *directive.precision > digits.size())
        digits.insert(0, *directive.precision - digits.size(), '0');
    // Octal's leading zero is one of the digits that the precision counts, unlike a prefix.
    if (directive.alternative && conversion == 'o' && !digits.starts_with('0'))
        digits.insert(0, 1, '0');
    appendNumber(out, directive, prefix, digits, directive.zero && !directive.precision);
}

void appendSigned(std::string& out, const Directive& directive, std::int64_t value) {
    const bool negative = value < 0;
    // Negated as unsigned: the smallest value has no positive counterpart.
    const auto bits = static_cast<std::uint64_t>(value);
    appendInteger(out, directive, negative ? 0 - bits : bits, signPrefix(directive, negative));
}

void appendUnsigned(std::string& out, const Directive& directive, std::uint64_t value) {
    std::string_view prefix;
    if (directive.alternative && value != 0) {
        if (directive.conversion == 'x') prefix = "0x";
        if (directive.conversion == 'X') prefix = "0X";
    }
    appendInteger(out, directive, value, prefix);
}

std::string floatingDigits(double value, std::chars_format style, std::size_t precision) {
    // The longest double has 309 digits before its point.
    std::string digits(400 + precision, '\0');
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, style,
                                   static_cast<int>(precision))
                         .ptr;
    digits.resize(static_cast<std::size_t>(end - digits.data()));
    return digits;
}

// As %#g: `precision` significant digits, trailing zeros included. std::to_chars always drops them
// in its general style, so the choice between the two other styles is made here, by C's rule.
std::string generalDigitsWithZeros(double value, std::size_t precision) {
    const std::size_t significant = std::max<std::size_t>(precision, 1);
    std::string digits = floatingDigits(value, std::chars_format::scientific, significant - 1);
    int exponent = 0;
    const std::size_t mark = digits.find('e');
    const char* number = digits.data() + mark + (digits[mark + 1] == '+' ? 2 : 1);
    std::from_chars(number, digits.data() + digits.size(), exponent);
    if (exponent < -4 || exponent >= static_cast<int>(significant)) return digits;
    const auto decimals = static_cast<int>(significant) - 1 - exponent;
    return floatingDigits(value, std::chars_format::fixed, static_cast<std::size_t>(decimals));
}

// As the # flag asks: with a decimal point, whether or not a digit follows.
void addPoint(std::string& digits) {
    if (digits.find('.') == std::string::npos)
        digits.insert(std::min(digits.find('e'), digits.size()), 1, '.');
}

void appendFloating(std::string& out, const Directive& directive, double value) {
    const char lower = static_cast<char>(directive.conversion | 0x20);
    const auto style = lower == 'f'   ? std::chars_format::fixed
                       : lower == 'e' ? std::chars_format::scientific
                                      : std::chars_format::general;
    const std::size_t precision = directive.precision.value_or(6);
    // The sign is written by appendNumber, where zeros go between it and the digits; -0.0 has one.
    const double magnitude = std::fabs(value);
    const bool alternative = directive.alternative && std::isfinite(value);
    std::string digits = alternative && lower == 'g' ? generalDigitsWithZeros(magnitude, precision)
                                                     : floatingDigits(magnitude, style, precision);
    if (alternative) addPoint(digits);
    if (directive.conversion != lower) makeCapital(digits);
    // Infinity and not-a-number are padded with spaces, as by printf.
    appendNumber(out, directive, signPrefix(directive, std::signbit(value)), digits,
                 directive.zero && std::isfinite(value));
}

std::uint64_t unsignedValue(const FormatArgument& argument) {
    switch (argument.kind) {
        case Kind::Signed:
            return static_cast<std::uint64_t>(argument.signedValue);
        case Kind::Unsigned:
            return argument.unsignedValue;
        default:
            return 0;
    }
}

// The value cut to an integer of the directive's length. A negative int in %x, for example, shows
// its own 32 bits, not 64.
std::uint64_t unsignedOfItsLength(std::uint64_t value, std::string_view length) {
    if (length == "hh") return value & 0xFFU;
    if (length == "h") return value & 0xFFFFU;
    return length.empty() ? value & 0xFFFFFFFFU : value;
}

std::int64_t signedOfItsLength(std::uint64_t value, std::string_view length) {
    if (length == "hh") return static_cast<std::int8_t>(value);
    if (length == "h") return static_cast<std::int16_t>(value);
    return static_cast<std::int64_t>(value);
}

void appendCharacter(std::string& out, const Directive& directive, const FormatArgument& argument) {
    if (argument.kind != Kind::Signed && argument.kind != Kind::Unsigned) return;
    const char character = static_cast<char>(unsignedValue(argument));
    appendPadded(out, {&character, 1}, directive, 1);
}

void appendPointer(std::string& out, const Directive& directive, const FormatArgument& argument) {
    const void* pointer = argument.kind == Kind::Pointer ? argument.pointer : nullptr;
    appendInteger(out, directive, reinterpret_cast<std::uintptr_t>(pointer), "0x");
}

// Returns false for an unknown conversion. S and C are only accepted here: a format that is checked
// while compiling cannot have them.
bool appendDirective(std::string& out, const Directive& directive, const FormatArgument& argument) {
    switch (directive.conversion) {
        case '@':
        case 's':
        case 'S':
            appendText(out, directive, argument);
            return true;
        case 'd':
        case 'i':
            appendSigned(out, directive,
                         signedOfItsLength(unsignedValue(argument), directive.length));
            return true;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            appendUnsigned(out, directive,
                           unsignedOfItsLength(unsignedValue(argument), directive.length));
            return true;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
            appendFloating(out, directive,
                           argument.kind == Kind::Floating ? argument.floatingValue : 0.0);
            return true;
        case 'c':
        case 'C':
            appendCharacter(out, directive, argument);
            return true;
        case 'p':
            appendPointer(out, directive, argument);
            return true;
        case 'n':
            // Uses its argument and renders nothing. Unlike printf's it never writes to memory.
            return true;
        default:
            return false;
    }
}

}  // namespace

void renderFormat(std::string& out, std::string_view format,
                  std::span<const FormatArgument> arguments) {
    std::size_t used = 0;
    while (true) {
        const std::size_t percent = format.find('%');
        out.append(format.substr(0, percent));
        if (percent == std::string_view::npos) return;
        format.remove_prefix(percent);
        const Directive directive = parseDirective(format);
        if (directive.conversion == '%') {
            out += '%';
        } else {
            const FormatArgument argument =
                used < arguments.size() ? arguments[used] : FormatArgument{};
            // An unknown directive uses no argument, so those after it keep theirs.
            if (directive.conversion != 0 && appendDirective(out, directive, argument)) {
                ++used;
            } else if (directive.bytes == 0) {
                out.append(format);
                return;
            } else {
                out.append(format.substr(0, directive.bytes));
            }
        }
        format.remove_prefix(directive.bytes);
    }
}

}  // namespace quillmoor
