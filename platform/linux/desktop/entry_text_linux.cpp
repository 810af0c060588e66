#include "quillmoor/platform/linux/desktop/entry_text_linux.h"

#include <string_view>

namespace quillmoor::platform::linux_ {
namespace {

// Escapes a value of type string. A blank at either end is escaped, too, since parsers trim it.
std::string escaped(std::string_view value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        constexpr std::string_view kCharacters = "\n\t\r\\";
        constexpr std::string_view kNames = "ntr\\";
        const std::size_t found = kCharacters.find(value[i]);
        const bool atEnd = i == 0 || i + 1 == value.size();
        if (found != std::string_view::npos)
            text.append("\\").push_back(kNames[found]);
        else if (value[i] == ' ' && atEnd)
            text.append("\\s");
        else
            text.push_back(value[i]);
    }
    return text;
}

// One argument of an Exec value, quoted.
std::string quoted(std::string_view argument) {
    std::string text = "\"";
    for (const char c : argument) {
        // The characters that must be escaped between quotes. A single percent sign would begin a
        // field code.
        constexpr std::string_view kSpecial = "\"`$\\";
        if (kSpecial.find(c) != std::string_view::npos) text.push_back('\\');
        if (c == '%') text.push_back('%');
        text.push_back(c);
    }
    return text + "\"";
}

std::string withoutControls(std::string_view name) {
    std::string text;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F) text.push_back(c);
    }
    return text;
}

}  // namespace

std::string desktopEntryText(const std::string& name, const std::string& program) {
    return "[Desktop Entry]\nType=Application\nName=" + escaped(withoutControls(name)) +
           "\nTryExec=" + escaped(program) + "\nExec=" + escaped(quoted(program)) + "\n";
}

}  // namespace quillmoor::platform::linux_
