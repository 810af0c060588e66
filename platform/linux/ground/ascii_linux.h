// Comparing ASCII letters without regard to case, in every locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace quillmoor::platform::linux_ {

constexpr char lowercasedASCII(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lowercasedASCII(x) == lowercasedASCII(y); });
}

}  // namespace quillmoor::platform::linux_
