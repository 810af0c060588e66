#include "quillmoor/platform/posix/ground/names_posix.h"

#include <random>

#include "quillmoor/base/paths.h"
#include "quillmoor/base/utf8.h"

namespace quillmoor::platform::posix {
namespace {

// The shortest limit for a name on a file system in common use: eCryptfs.
constexpr std::size_t kLongestTemporaryName = 143;
constexpr std::size_t kRandomLength = 6;
constexpr std::string_view kAlphabet = "abcdefghijklmnopqrstuvwxyz0123456789";

// A longer part after a full stop is not an extension but part of the name.
constexpr std::size_t kLongestExtension = 32;

// The characters that fit completely into `limit` bytes.
std::string_view beginning(std::string_view text, std::size_t limit) {
    std::size_t end = 0;
    while (end < text.size()) {
        const std::size_t next = end + utf8CharacterAt(text, end).bytes;
        if (next > limit) break;
        end = next;
    }
    return text.substr(0, end);
}

}  // namespace

std::string temporaryName(std::string_view name) {
    std::string result = ".";
    // 2 for the two full stops.
    result.append(beginning(name, kLongestTemporaryName - kRandomLength - 2)).append(".");
    std::random_device random;
    for (std::size_t i = 0; i < kRandomLength; ++i)
        result += kAlphabet[random() % kAlphabet.size()];
    return result;
}

std::string shortenedName(std::string_view name, std::size_t limit) {
    if (name.size() <= limit) return std::string(name);
    const std::string extension = pathExtension(name);
    if (extension.empty() || extension.size() > kLongestExtension)
        return std::string(beginning(name, limit));
    // The extension is kept, since desktops choose a file's program by it.
    const std::string stem = deletePathExtension(name);
    return std::string(beginning(stem, limit - extension.size() - 1)) + "." + extension;
}

}  // namespace quillmoor::platform::posix
