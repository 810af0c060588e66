#include "quillmoor/platform/macos/ground/core_foundation_macos.h"

#include <cstring>

namespace quillmoor::platform::macos {
namespace {

constexpr CFIndex kLongestPath = 4096;

}  // namespace

OptionalString textOf(CFStringRef text) {
    if (text == nullptr) return std::nullopt;
    const CFIndex length = ::CFStringGetLength(text);
    const CFIndex size = ::CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingUTF8) + 1;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    if (!::CFStringGetCString(text, bytes.data(), size, kCFStringEncodingUTF8)) return std::nullopt;
    bytes.resize(std::strlen(bytes.c_str()));
    return bytes;
}

CFOwned<CFStringRef> stringOf(const std::string& text) {
    return CFOwned<CFStringRef>(
        ::CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                  static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

CFOwned<CFURLRef> urlOfPath(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return CFOwned<CFURLRef>(nullptr);
    return CFOwned<CFURLRef>(::CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
        static_cast<CFIndex>(path.size()), false));
}

OptionalPath pathOfUrl(CFURLRef url) {
    if (url == nullptr) return std::nullopt;
    std::string bytes(kLongestPath, '\0');
    auto* const buffer = reinterpret_cast<UInt8*>(bytes.data());
    if (!::CFURLGetFileSystemRepresentation(url, true, buffer, kLongestPath)) return std::nullopt;
    bytes.resize(std::strlen(bytes.c_str()));
    return bytes;
}

}  // namespace quillmoor::platform::macos
