#include "tools/version-check/version_number.h"

#include <algorithm>

namespace quillmoor::version_check {
namespace {

// Not isdigit, whose result depends on the locale.
bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// Takes the first component off `text`; an empty one when nothing is left.
std::string_view takeComponent(std::string_view& text) {
    const std::string_view component = text.substr(0, text.find('.'));
    text.remove_prefix(std::min(text.size(), component.size() + 1));
    return component;
}

// Takes the digits off the component's front, and returns them without leading zeros.
std::string_view takeNumber(std::string_view& component) {
    const auto end = std::find_if_not(component.begin(), component.end(), isDigit);
    std::string_view digits =
        component.substr(0, static_cast<std::size_t>(end - component.begin()));
    component.remove_prefix(digits.size());
    digits.remove_prefix(std::min(digits.size(), digits.find_first_not_of('0')));
    return digits;
}

std::strong_ordering compareComponents(std::string_view left, std::string_view right) {
    const std::string_view leftNumber = takeNumber(left);
    const std::string_view rightNumber = takeNumber(right);
    if (const auto order = leftNumber.size() <=> rightNumber.size(); std::is_neq(order))
        return order;
    if (const auto order = leftNumber <=> rightNumber; std::is_neq(order)) return order;
    if (left.empty() != right.empty()) return left.empty() <=> right.empty();
    return left <=> right;
}

}  // namespace

bool isVersionNumber(std::string_view text) {
    return !text.empty() && isDigit(text.front());
}

std::strong_ordering compareVersions(std::string_view left, std::string_view right) {
    left = left.substr(0, left.find(' '));
    right = right.substr(0, right.find(' '));
    while (!left.empty() || !right.empty()) {
        const auto order = compareComponents(takeComponent(left), takeComponent(right));
        if (std::is_neq(order)) return order;
    }
    return std::strong_ordering::equal;
}

}  // namespace quillmoor::version_check
