// Texts for people: made of bytes that may hold anything.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace quillmoor::host {

// “text” on one line: control characters are written as \xNN.
std::string inQuotes(std::string_view text);
std::string onOneLine(std::string_view text);

// For the screen. Bytes that are no UTF-8 are shown as replacement characters.
QString shown(std::string_view text);

// The same with places where a line may be broken after each slash, and without them.
QString breakable(std::string_view text);
QString withoutBreaks(QString text);

std::string bytesOf(const QString& text);

// A text of the window in the user's language.
QString translated(const char* text);

}  // namespace quillmoor::host
