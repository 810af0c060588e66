// Message formats: printf's, with %@ for strings. A format written in the source is checked against
// its arguments when it is compiled; one that exists only at run time is a RuntimeFormat and reads
// no argument. Numbers never depend on the locale.
//
//   formatted("Error: %@ is not executable", path)
//   formatted("%li CPU(s), %0.2f GB RAM", count, gigabytes)
//
// A directive is % [flags] [width] [.precision] [length] conversion, as printf's:
//
//   Conversion  Takes                             Writes
//   %@ %s       std::string, string_view, a C     the text, every byte of it, NULs included; nil
//               string, or an optional of one     and a null pointer as "(null)"
//   %d %i       a signed integer or a bool        decimal digits
//   %u          an integer                        decimal digits of the unsigned value
//   %x %X       an integer                        hexadecimal digits, small or capital
//   %o          an integer                        octal digits
//   %f %F       a float or double                 decimals, 6 unless a precision says otherwise
//   %e %E       a float or double                 one digit, decimals and an exponent
//   %g %G       a float or double                 as %f or %e, by its size, without trailing zeros
//   %c          a char or an int                  one byte, also one that is not valid UTF-8
//   %p          a pointer, not to char            0x and its digits; 0x0 for null
//   %%          nothing                           one percent sign
//
//   formatted("%@|%5d|%-5d|%05d|%+d", "é", 42, 42, 42, 42)      é|   42|42   |00042|+42
//   formatted("%x|%#X|%o|%hx", 255, 255, 8, -1)                 ff|0XFF|10|ffff
//   formatted("%f|%.1f|%e|%g", 2.5, 2.25, 1.5, 2.5)             2.500000|2.2|1.500000e+00|2.5
//   formatted("%.2@|%6@|%-6@|", "aéb", "aéb", "aéb")            aé|   aéb|aéb   |
//
// Flags: - pads on the right, 0 pads a number with zeros, + and a space write a sign or a space
// before numbers that are not negative, # the alternative form (0x before hexadecimal digits, a
// leading 0 of octal ones, the decimal point always). Text, %c, infinity and not-a-number are
// padded with spaces only.
//
// Width is the least number of characters. Precision is the most of a text, the least number of an
// integer's digits, the decimals of %f and %e and the digits of %g. Of a text both count 16-bit
// units. Both are digits in the format, and those above 4096 count as 4096, so that a format from
// outside cannot demand unbounded memory.
//
// Length is that of the integer: none for int, l ll q j z t for the 64-bit types. h and hh take an
// int and write its low 16 and 8 bits: %hhu of -1 is 255. Smaller integers and bool are promoted to
// int, and need no length.
//
// Compile errors: an argument that does not fit its directive, too few or too many arguments, a %
// at the end, *, a # where printf has no alternative form (it has one for x X o f F e E g G), an h
// where no integer is written, and a length that printf does not have. A signed argument is
// accepted by %u and %x, an unsigned one is refused by %d.
//
// In a RuntimeFormat, whose directives have no arguments, text is "(null)" and a number 0; %c, %C
// and %n give nothing, and %S is %s. What is not a directive is copied: "100%", "%y".
//
// Everything here may be called from any thread, and throws std::bad_alloc only. Text that is not
// the program's own belongs in an argument, not in the format:
//
//   formatted("%@", name)                   // name as it is
//   formatted(RuntimeFormat{name})          // a percent sign in name begins a directive
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace quillmoor {

// One argument, by kind. Text is viewed, not copied: an argument must not outlive the call. `kind`
// says which member has the value: `text`, the member of its name, or none for Null, which is nil.
struct FormatArgument {
    enum class Kind : std::uint8_t { Text, Null, Signed, Unsigned, Floating, Pointer };
    Kind kind = Kind::Null;
    std::string_view text;
    union {
        std::int64_t signedValue = 0;
        std::uint64_t unsignedValue;
        double floatingValue;
        const void* pointer;
    };
};

// What the compiler needs to check a format. Not for callers: it may change with every version.
namespace format_detail {

// What %@ and %s take without an optional. A char* counts, hence %p takes every pointer but one to
// char.
template <typename T>
concept TextLike = std::convertible_to<const T&, std::string_view>;

// An optional that nil text may be passed in, such as OptionalString.
template <typename T>
struct IsOptionalText : std::false_type {};
template <TextLike T>
struct IsOptionalText<std::optional<T>> : std::true_type {};

// What a directive and an argument must agree on. `size` is that of the promoted argument in bytes,
// and 0 for text.
struct ArgumentType {
    FormatArgument::Kind kind;
    std::size_t size;
};

// The kind and size that an argument of type T has after C's default promotions, which a format
// written for printf assumes: a bool and a char are an int, a float is a double.
template <typename T>
consteval ArgumentType typeOf() {
    using Kind = FormatArgument::Kind;
    using Plain = std::remove_cvref_t<T>;
    if constexpr (TextLike<Plain> || IsOptionalText<Plain>::value) {
        return {Kind::Text, 0};
    } else if constexpr (std::is_floating_point_v<Plain>) {
        return {Kind::Floating, sizeof(double)};
    } else if constexpr (std::is_same_v<Plain, bool>) {
        return {Kind::Signed, sizeof(int)};
    } else if constexpr (std::is_integral_v<Plain>) {
        return {std::is_signed_v<Plain> ? Kind::Signed : Kind::Unsigned,
                sizeof(Plain) < sizeof(int) ? sizeof(int) : sizeof(Plain)};
    } else {
        static_assert(std::is_pointer_v<Plain>, "this type has no message directive");
        return {Kind::Pointer, sizeof(void*)};
    }
}

// Not constexpr on purpose: reaching it while a format is checked stops the compilation, and its
// argument says why.
void formatDoesNotFitItsArguments(const char* why);

// The parts of a directive. The checker below and the renderer in format.cpp share them, so that
// both read a format in the same way.
constexpr bool isFlag(char c) {
    return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0';
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isLength(char c) {
    return c == 'h' || c == 'l' || c == 'q' || c == 'j' || c == 'z' || c == 't';
}

// The length at the start of `text`, which may be empty: "h", "hh", "l", "ll", "q", "j", "z", "t".
constexpr std::string_view lengthAt(std::string_view text) {
    std::size_t size = 0;
    while (size < text.size() && isLength(text[size])) ++size;
    return text.substr(0, size);
}
// lengthAt takes every run of length characters, so "hhh" and "lh" come here to be refused.
constexpr bool isKnownLength(std::string_view length) {
    return length.size() < 2 || length == "hh" || length == "ll";
}

// Bytes that an integer directive reads. hh and h arguments are promoted to int; all longer lengths
// are 8 bytes on the 64-bit systems that are supported.
constexpr std::size_t integerSize(std::string_view length) {
    return length.empty() || length.front() == 'h' ? sizeof(int) : sizeof(long long);
}

// Those that h and hh may stand before.
constexpr bool isIntegerConversion(char c) {
    return std::string_view("diuxXo").find(c) != std::string_view::npos;
}
// Those for which # has an effect.
constexpr bool hasAlternativeForm(char c) {
    return std::string_view("xXofFeEgG").find(c) != std::string_view::npos;
}

// Compiles only if `conversion` with `length` can take an argument of `type`.
consteval void checkDirective(char conversion, std::string_view length, const ArgumentType& type) {
    using Kind = FormatArgument::Kind;
    if (!isKnownLength(length)) formatDoesNotFitItsArguments("unknown length");
    if (length.starts_with('h') && !isIntegerConversion(conversion))
        formatDoesNotFitItsArguments("h is for integers");
    const bool integer = type.kind == Kind::Signed || type.kind == Kind::Unsigned;
    switch (conversion) {
        case '@':
        case 's':
            if (type.kind != Kind::Text) formatDoesNotFitItsArguments("%@ and %s take text");
            return;
        case 'd':
        case 'i':
            if (type.kind != Kind::Signed || type.size != integerSize(length))
                formatDoesNotFitItsArguments("%d takes a signed integer of its length");
            return;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            if (!integer || type.size != integerSize(length))
                formatDoesNotFitItsArguments("%u takes an integer of its length");
            return;
        case 'c':
            if (!integer || type.size != sizeof(int))
                formatDoesNotFitItsArguments("%c takes a character");
            return;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
            if (type.kind != Kind::Floating) formatDoesNotFitItsArguments("%f takes a double");
            return;
        case 'p':
            if (type.kind != Kind::Pointer) formatDoesNotFitItsArguments("%p takes a pointer");
            return;
        default:
            formatDoesNotFitItsArguments("unknown directive");
    }
}

// Compiles only if each directive fits its argument, and all arguments are used. It must read a
// directive exactly as renderFormat does.
consteval void checkFormat(std::string_view format, std::span<const ArgumentType> types) {
    std::size_t used = 0;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') continue;
        if (++i == format.size()) return formatDoesNotFitItsArguments("% at the end");
        if (format[i] == '%') continue;
        bool alternative = false;
        for (; i < format.size() && isFlag(format[i]); ++i)
            if (format[i] == '#') alternative = true;
        while (i < format.size() && isDigit(format[i])) ++i;
        if (i < format.size() && format[i] == '.') ++i;
        while (i < format.size() && isDigit(format[i])) ++i;
        const std::string_view length = lengthAt(format.substr(i));
        i += length.size();
        if (i == format.size()) return formatDoesNotFitItsArguments("unfinished directive");
        if (alternative && !hasAlternativeForm(format[i]))
            formatDoesNotFitItsArguments("# has no effect here");
        if (used == types.size()) return formatDoesNotFitItsArguments("too few arguments");
        checkDirective(format[i], length, types[used++]);
    }
    if (used != types.size()) formatDoesNotFitItsArguments("too many arguments");
}

// The value with its kind. A null C string is nil. Integers keep their sign and are widened to 64
// bits; the directive's length cuts them again when they are written.
template <typename T>
FormatArgument argument(const T& value) {
    FormatArgument result;
    if constexpr (std::is_same_v<std::decay_t<T>, const char*> ||
                  std::is_same_v<std::decay_t<T>, char*>) {
        const char* text = value;
        if (text == nullptr) return result;
        result.text = text;
        result.kind = FormatArgument::Kind::Text;
    } else if constexpr (TextLike<T>) {
        result.text = value;
        result.kind = FormatArgument::Kind::Text;
    } else if constexpr (IsOptionalText<T>::value) {
        return value ? argument(*value) : result;
    } else if constexpr (std::is_floating_point_v<T>) {
        result.kind = FormatArgument::Kind::Floating;
        result.floatingValue = value;
    } else if constexpr (std::is_pointer_v<T>) {
        result.kind = FormatArgument::Kind::Pointer;
        result.pointer = value;
    } else if constexpr (std::is_signed_v<T>) {
        result.kind = FormatArgument::Kind::Signed;
        result.signedValue = value;
    } else {
        result.kind = FormatArgument::Kind::Unsigned;
        result.unsignedValue = value;
    }
    return result;
}

}  // namespace format_detail

// A format that exists only at run time, such as an exception's reason. Every directive in it is
// rendered as if its argument were nil or 0: no argument is ever read, so a hostile text cannot
// make the process read memory that is not an argument. `text` is viewed and must outlive the call.
//
//   formatted(RuntimeFormat{"%@ of %d"})   // (null) of 0
struct RuntimeFormat {
    std::string_view text;
};

// A format checked while compiling, or a RuntimeFormat, or nil (std::nullopt). Callers do not name
// this type: they pass a literal, which converts. It views its text, and is a parameter only.
template <typename... Arguments>
class BasicFormat {
  public:
    // NOLINTNEXTLINE(google-explicit-constructor): a literal is what callers write
    consteval BasicFormat(const char* text) : text_(std::string_view(text)) {
        const format_detail::ArgumentType types[] = {
            format_detail::typeOf<Arguments>()...,
            format_detail::ArgumentType{FormatArgument::Kind::Null, 0}};
        format_detail::checkFormat(*text_, std::span(types, sizeof...(Arguments)));
    }
    // NOLINTNEXTLINE(google-explicit-constructor): as above
    BasicFormat(RuntimeFormat format) : text_(format.text) {
        static_assert(sizeof...(Arguments) == 0, "a RuntimeFormat reads no arguments");
    }
    // NOLINTNEXTLINE(google-explicit-constructor): as above
    BasicFormat(std::nullopt_t) {}

    bool isNil() const { return !text_; }
    // Must not be called when isNil().
    std::string_view text() const { return *text_; }

  private:
    std::optional<std::string_view> text_;
};

// The format's parameter type in a function that takes it with its arguments. The arguments alone
// determine the types; the format does not take part in deduction.
//
//   template <typename... Arguments>
//   void report(Format<Arguments...> format, const Arguments&... arguments) {
//       print(formatted<Arguments...>(format, arguments...));
//   }
template <typename... Arguments>
using Format = BasicFormat<std::type_identity_t<Arguments>...>;

// Renders `format` and appends the result to `out`. A directive without an argument is rendered as
// if it were nil or 0; an unknown or unfinished one is copied unchanged, and uses no argument.
// Arguments that no directive uses are ignored. When std::bad_alloc is thrown, `out` holds the part
// that was rendered before. This is what the templates below call; nothing is checked here.
void renderFormat(std::string& out, std::string_view format,
                  std::span<const FormatArgument> arguments);

// Renders `format` with `arguments` and appends the message to `out`. The format must not be nil.
// After std::bad_alloc `out` holds the part that was rendered before.
template <typename... Arguments>
void appendFormatted(std::string& out, const Format<Arguments...>& format,
                     const Arguments&... arguments) {
    if constexpr (sizeof...(Arguments) == 0) {
        renderFormat(out, format.text(), {});
    } else {
        const FormatArgument list[] = {format_detail::argument(arguments)...};
        renderFormat(out, format.text(), list);
    }
}

// The message. The format must not be nil.
//
//   const std::string line = formatted("%@: %li of %li", name, done, total);
template <typename... Arguments>
std::string formatted(Format<Arguments...> format, const Arguments&... arguments) {
    std::string out;
    appendFormatted<Arguments...>(out, format, arguments...);
    return out;
}

}  // namespace quillmoor
