#include "quillmoor/platform/linux/authorization/helper/arguments_linux.h"

#include <charconv>
#include <string_view>

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

// Digits only: from_chars alone would accept a sign and ignore what follows.
template <typename Number>
bool parseNumber(std::string_view text, Number& number) {
    if (text.starts_with('-')) return false;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

}  // namespace

std::optional<Arguments> parseArguments(std::span<const char* const> arguments) {
    using std::string_view;
    if (arguments.size() != 6 || arguments[0] != string_view("--connect") ||
        arguments[2] != string_view("--uid") || arguments[4] != string_view("--pid"))
        return std::nullopt;
    Arguments parsed;
    parsed.path = arguments[1];
    if (!parsed.path.starts_with('/') || !parseNumber(arguments[3], parsed.uid) ||
        !parseNumber(arguments[5], parsed.pid) || parsed.pid <= 0)
        return std::nullopt;
    return parsed;
}

}  // namespace quillmoor::platform::linux_::authorization::helper
