// Binary property lists, honest and otherwise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::test {

inline std::string bigEndian(std::uint64_t number, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text.push_back(static_cast<char>((number >> shift) & 0xFF));
    return text;
}

// As an array or a dictionary refers to object `index`.
inline std::string reference(std::uint16_t index) {
    return bigEndian(index, 2);
}

// The file with these objects, the first one on top.
inline std::string binaryPropertyList(const StringList& objects) {
    std::string file = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += bigEndian(file.size(), 4);
        file += object;
    }
    const std::size_t tableOffset = file.size();
    file += table + std::string(6, '\0') + "\x04\x02";
    return file + bigEndian(objects.size(), 8) + bigEndian(0, 8) + bigEndian(tableOffset, 8);
}

}  // namespace quillmoor::test
