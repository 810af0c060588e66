// Text in the platform's encodings, and letter case.
#pragma once

#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// The platform's `NSStringEncoding` numbers. Any other number may be passed; an unknown one decodes
// nothing.
enum class StringEncoding : unsigned long {
    ASCII = 1,
    NEXTSTEP = 2,
    JapaneseEUC = 3,
    UTF8 = 4,
    ISOLatin1 = 5,
    NonLossyASCII = 7,
    ShiftJIS = 8,
    ISOLatin2 = 9,
    UTF16 = 10,
    WindowsCP1251 = 11,
    WindowsCP1252 = 12,
    WindowsCP1253 = 13,
    WindowsCP1254 = 14,
    WindowsCP1250 = 15,
    ISO2022JP = 21,
    MacOSRoman = 30,
    UTF16BigEndian = 0x90000100,
    UTF16LittleEndian = 0x94000100,
    UTF32 = 0x8c000100,
    UTF32BigEndian = 0x98000100,
    UTF32LittleEndian = 0x9c000100
};

// May be called from any thread.
class Text {
  public:
    virtual ~Text() = default;

    // The bytes as UTF-8; nil when they are not valid in the encoding or the encoding is unknown.
    // No bytes are an empty text in any encoding.
    virtual OptionalString decode(std::string_view bytes, StringEncoding encoding) = 0;

    // Unicode's simple lower case, and i with a dot for U+0130. Invalid UTF-8 bytes are unchanged.
    virtual std::string lowercase(std::string_view text) = 0;
};

}  // namespace quillmoor::platform
