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

std::strong_ordering compareNumbers(std::string_view& left, std::string_view& right) {
    const std::string_view leftNumber = takeNumber(left);
    const std::string_view rightNumber = takeNumber(right);
    if (const auto order = leftNumber.size() <=> rightNumber.size(); std::is_neq(order))
        return order;
    return leftNumber <=> rightNumber;
}

// Takes the text before the next digit off the rest's front.
std::string_view takeText(std::string_view& rest) {
    const auto end = std::find_if(rest.begin(), rest.end(), isDigit);
    const std::string_view text = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
    rest.remove_prefix(text.size());
    return text;
}

// A development version, "d" or "dev", is before an alpha version.
bool isDevelopment(std::string_view stage) {
    stage.remove_prefix(std::min(stage.size(), stage.find_first_not_of("-_~")));
    return stage.starts_with('d');
}

std::strong_ordering compareStages(std::string_view left, std::string_view right) {
    if (const auto order = isDevelopment(right) <=> isDevelopment(left); std::is_neq(order))
        return order;
    return left <=> right;
}

std::strong_ordering compareComponents(std::string_view left, std::string_view right) {
    if (const auto order = compareNumbers(left, right); std::is_neq(order)) return order;
    if (left.empty() != right.empty()) return left.empty() <=> right.empty();
    while (!left.empty() || !right.empty()) {
        if (const auto order = compareStages(takeText(left), takeText(right)); std::is_neq(order))
            return order;
        if (const auto order = compareNumbers(left, right); std::is_neq(order)) return order;
    }
    return std::strong_ordering::equal;
}

// Without a build, which follows a space or a plus sign.
std::string_view withoutBuild(std::string_view version) {
    return version.substr(0, version.find_first_of(" \t\n\v\f\r+"));
}

}  // namespace

bool isVersionNumber(std::string_view text) {
    return !text.empty() && isDigit(text.front());
}

std::strong_ordering compareVersions(std::string_view left, std::string_view right) {
    left = withoutBuild(left);
    right = withoutBuild(right);
    while (!left.empty() || !right.empty()) {
        const auto order = compareComponents(takeComponent(left), takeComponent(right));
        if (std::is_neq(order)) return order;
    }
    return std::strong_ordering::equal;
}

}  // namespace quillmoor::version_check
