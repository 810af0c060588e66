#include <algorithm>

#include "quillmoor/base/paths.h"
#include "quillmoor/base/strings.h"
#include "quillmoor/base/utf8.h"

namespace quillmoor {
namespace {

// The first position from `n` on at which the rest of a pattern, after a *, can match. Searching
// for an ASCII byte is safe in UTF-8: it is never part of a longer character.
std::size_t nextCandidate(std::string_view rest, std::string_view name, std::size_t n) {
    const auto first = static_cast<unsigned char>(rest.front());
    if (first == '*' || first == '?' || first >= 0x80) return n;
    return std::min(name.find(rest.front(), n), name.size());
}

}  // namespace

std::string validateFilename(std::string_view name) {
    if (name == ".") return "";
    if (name.starts_with('.')) name.remove_prefix(1);
    const std::string_view trimmed = trimWhitespaceAndNewlines(name);
    return replaceAll(replaceAll(trimmed, "/", ""), ":", "");
}

// On a mismatch only the last * is extended: whatever an earlier * could match, the last one can
// match as well. So the time is bounded by the product of the lengths, not exponential.
bool isLike(std::string_view pattern, std::string_view name) {
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t afterStar = kNone;
    std::size_t retry = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            afterStar = ++p;
            if (p == pattern.size()) return true;
            retry = nextCandidate(pattern.substr(p), name, n);
            n = retry;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            n += utf8CharacterAt(name, n).bytes;
        } else if (p < pattern.size() && pattern[p] == name[n]) {
            ++p;
            ++n;
        } else if (afterStar != kNone) {
            p = afterStar;
            retry =
                nextCandidate(pattern.substr(p), name, retry + utf8CharacterAt(name, retry).bytes);
            n = retry;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == kNone;
}

}  // namespace quillmoor
