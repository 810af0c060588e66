#include <algorithm>

#include "quillmoor/base/paths.h"
#include "quillmoor/base/strings.h"
#include "quillmoor/base/utf8.h"

namespace quillmoor {
namespace {

// Where the rest of a pattern, behind a *, may match at the earliest from `n` on. A byte of ASCII
// is a character of its own wherever it stands.
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

// Only the last * is ever gone back to.
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
