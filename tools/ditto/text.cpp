#include "tools/ditto/text.h"

#include <utf8proc.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "quillmoor/base/utf8.h"

namespace quillmoor::ditto {
namespace {

std::string foldedAscii(std::string_view name) {
    std::string folded(name);
    for (char& c : folded)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return folded;
}

}  // namespace

bool isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const Utf8Character found = utf8CharacterAt(bytes, 0);
        if (!found.valid) return false;
        bytes.remove_prefix(found.bytes);
    }
    return true;
}

std::string foldedCase(std::string_view name) {
    // Decomposed, because file systems that fold case may also take é in one code point and in two
    // for one name. The library allocates the result with malloc, and returns a negative length for
    // a failure.
    utf8proc_uint8_t* mapped = nullptr;
    const auto length =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(name.data()),
                     static_cast<utf8proc_ssize_t>(name.size()), &mapped,
                     static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE |
                                                    UTF8PROC_CASEFOLD | UTF8PROC_IGNORE));
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(mapped, &std::free);
    if (length == UTF8PROC_ERROR_INVALIDUTF8) return foldedAscii(name);
    // Out of memory. Folding less than of other names would hide that two are equal.
    if (length < 0) throw std::bad_alloc();
    return {reinterpret_cast<const char*>(mapped), static_cast<std::size_t>(length)};
}

}  // namespace quillmoor::ditto
