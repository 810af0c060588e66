// Texts for people, made of arbitrary bytes.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace quillmoor::host {

// Both return the text on one line, with control characters written as \xNN; inQuotes() puts it in
// “” as well.
std::string inQuotes(std::string_view text);
std::string onOneLine(std::string_view text);

// The text for a widget. Invalid UTF-8 bytes become replacement characters.
QString shown(std::string_view text);

// breakable() also allows a line break after each slash, by characters of no width;
// withoutBreaks() removes those.
QString breakable(std::string_view text);
QString withoutBreaks(QString text);

std::string bytesOf(const QString& text);

// Returns a text of the window in the user's language.
QString translated(const char* text);

}  // namespace quillmoor::host
