// Message formats: printf's, with %@ for strings. A format written in the source is checked against
// its arguments when it is compiled; one that exists only at run time is a RuntimeFormat and reads
// no argument. Numbers never depend on the locale.
//
//   formatted("Error: %@ is not executable", path)
//   formatted("%li CPU(s), %0.2f GB RAM", count, gigabytes)
//
// Directives: %@ %s (text; nil gives "(null)"), %c (one byte), %d %i %u %x %X %o with the lengths
// hh h l ll q j z t, %f %e %g and their capitals, %p, %%. Flags, lengths, width and precision are
// printf's; %hhd, for example, writes the value of the argument's low byte. The width and precision
// of a text count 16-bit units. Widths and precisions above 4096 count as 4096, so that a format
// from outside cannot demand unbounded memory.
//
// Compile errors: *, a # where printf has no alternative form (it has one for x X o f F e E g G),
// an h where no integer is written, and a length that printf does not have.
//
// Everything here may be called from any thread, and throws std::bad_alloc only.
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

// One argument, by kind. Text is viewed, not copied: an argument must not outlive the call.
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

namespace format_detail {

template <typename T>
concept TextLike = std::convertible_to<const T&, std::string_view>;

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
constexpr bool isKnownLength(std::string_view length) {
    return length.size() < 2 || length == "hh" || length == "ll";
}

// Bytes that an integer directive reads. hh and h arguments are promoted to int; all longer lengths
// are 8 bytes on the 64-bit systems that are supported.
constexpr std::size_t integerSize(std::string_view length) {
    return length.empty() || length.front() == 'h' ? sizeof(int) : sizeof(long long);
}

constexpr bool isIntegerConversion(char c) {
    return std::string_view("diuxXo").find(c) != std::string_view::npos;
}
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

// The value with its kind. A null C string is nil.
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
// make the process read memory that is not an argument.
struct RuntimeFormat {
    std::string_view text;
};

// A format checked while compiling, or a RuntimeFormat, or nil.
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
    std::string_view text() const { return *text_; }

  private:
    std::optional<std::string_view> text_;
};

// The format's parameter type in a function that takes it with its arguments. The arguments alone
// determine the types; the format does not take part in deduction.
template <typename... Arguments>
using Format = BasicFormat<std::type_identity_t<Arguments>...>;

// Renders `format` and appends the result to `out`. A directive without an argument is rendered as
// if it were nil or 0; an unknown or unfinished one is copied unchanged. When std::bad_alloc is
// thrown, `out` holds the part that was rendered before.
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
template <typename... Arguments>
std::string formatted(Format<Arguments...> format, const Arguments&... arguments) {
    std::string out;
    appendFormatted<Arguments...>(out, format, arguments...);
    return out;
}

}  // namespace quillmoor
