#include "host/ground/display_text.h"

#include <QCoreApplication>

namespace quillmoor::host {

// By byte: what is escaped is ASCII, and the bytes of longer characters are all above it.
std::string onOneLine(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string line;
    line.reserve(text.size());
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if (byte >= 0x20 && byte != 0x7f) {
            line += each;
        } else {
            line += "\\x";
            line += digits[byte >> 4U];
            line += digits[byte & 0xfU];
        }
    }
    return line;
}

std::string inQuotes(std::string_view text) {
    return "“" + onOneLine(text) + "”";
}

QString shown(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// A space without width after each slash: a path has no other place at which a label could wrap.
QString breakable(std::string_view text) {
    return shown(text).replace('/', QStringLiteral("/\u200b"));
}

QString withoutBreaks(QString text) {
    return text.remove(QChar(0x200b));
}

std::string bytesOf(const QString& text) {
    return text.toStdString();
}

QString translated(const char* text) {
    return QCoreApplication::translate("installer-host", text);
}

}  // namespace quillmoor::host
