#include "quillmoor/platform/linux/desktop/desktop_entry_linux.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace quillmoor::platform::linux_ {
namespace {

std::string_view trimmed(std::string_view text) {
    // With the carriage return of a file that was written on another system.
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return trimmed(line);
}

// Resolves \s, \n, \t, \r and \\, as in every value of type string; other backslashes are kept.
std::string unescaped(std::string_view value) {
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        constexpr std::string_view kNames = "sntr\\";
        constexpr std::string_view kMeanings = " \n\t\r\\";
        const std::size_t next = i + 1 < value.size() ? kNames.find(value[i + 1]) : kNames.npos;
        if (value[i] == '\\' && next != kNames.npos) {
            result.push_back(kMeanings[next]);
            ++i;
        } else {
            result.push_back(value[i]);
        }
    }
    return result;
}

void set(DesktopEntry& entry, std::string_view key, std::string_view value) {
    // Keys with a language, as Name[de], are none of these.
    if (key == "Type") entry.isApplication = value == "Application";
    if (key == "Hidden") entry.isHidden = value == "true";
    if (key == "TryExec") entry.tryExec = unescaped(value);
    if (key == "Exec") entry.exec = unescaped(value);
}

}  // namespace

DesktopEntry parseDesktopEntry(std::string_view text) {
    DesktopEntry entry;
    bool inGroup = false;
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (line.starts_with('[')) inGroup = line == "[Desktop Entry]";
        const std::size_t equals = line.find('=');
        if (!inGroup || line.starts_with('#') || equals == std::string_view::npos) continue;
        set(entry, trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
    }
    return entry;
}

// `exec` is without the escapes of a string: Desktop Entry 1.5 resolves those first.
OptionalString programInExec(std::string_view exec) {
    exec = trimmed(exec);
    if (!exec.starts_with('"')) {
        const std::string_view word = exec.substr(0, exec.find_first_of(" \t\n"));
        return word.empty() ? std::nullopt : OptionalString(word);
    }
    std::string word;
    for (std::size_t i = 1; i < exec.size(); ++i) {
        if (exec[i] == '"') return word.empty() ? std::nullopt : OptionalString(word);
        // An escaped character, or a percent sign, which is doubled.
        const bool escaped = exec[i] == '\\' || exec.substr(i, 2) == "%%";
        if (escaped && i + 1 < exec.size()) ++i;
        word.push_back(exec[i]);
    }
    return std::nullopt;
}

}  // namespace quillmoor::platform::linux_
