#include "quillmoor/platform/linux/ground/assignments_linux.h"

#include <cstddef>
#include <optional>
#include <string>

namespace quillmoor::platform::linux_ {
namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// The text between the quotes that `text` begins with; nil when they are not closed.
OptionalString quoted(std::string_view text) {
    const char quote = text.front();
    std::string value;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == quote) return value;
        // As in a shell, a backslash means itself between single quotes.
        if (quote == '"' && text[i] == '\\' && i + 1 < text.size()) ++i;
        value.push_back(text[i]);
    }
    return std::nullopt;
}

std::string unquoted(std::string_view text) {
    std::string value;
    for (std::size_t i = 0; i < text.size() && !isBlank(text[i]); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) ++i;
        value.push_back(text[i]);
    }
    return value;
}

OptionalString valueInLine(std::string_view line, std::string_view name) {
    while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
    if (!line.starts_with(name)) return std::nullopt;
    line.remove_prefix(name.size());
    if (!line.starts_with('=')) return std::nullopt;
    line.remove_prefix(1);
    return line.starts_with('"') || line.starts_with('\'') ? quoted(line) : unquoted(line);
}

}  // namespace

OptionalString assignedValue(std::string_view text, std::string_view name) {
    OptionalString value;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size());
        if (!text.empty()) text.remove_prefix(1);
        // The last assignment counts, as it does when a shell reads the file.
        if (OptionalString found = valueInLine(line, name)) value = std::move(found);
    }
    return value;
}

}  // namespace quillmoor::platform::linux_
