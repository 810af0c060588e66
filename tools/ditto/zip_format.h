// The zip format's numbers, and their form in bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quillmoor::ditto::zip {

inline constexpr std::uint32_t kLocalSignature = 0x04034b50;
inline constexpr std::uint32_t kCentralSignature = 0x02014b50;
inline constexpr std::uint32_t kEndSignature = 0x06054b50;
inline constexpr std::uint32_t kEnd64Signature = 0x06064b50;
inline constexpr std::uint32_t kEnd64LocatorSignature = 0x07064b50;

inline constexpr std::size_t kLocalSize = 30;
inline constexpr std::size_t kCentralSize = 46;
inline constexpr std::size_t kEndSize = 22;
inline constexpr std::size_t kEnd64Size = 56;
inline constexpr std::size_t kEnd64LocatorSize = 20;

inline constexpr std::uint16_t kStored = 0;
inline constexpr std::uint16_t kDeflated = 8;

inline constexpr std::uint16_t kFlagEncrypted = 1U << 0U;
inline constexpr std::uint16_t kFlagSumsFollow = 1U << 3U;  // sizes and checksum behind the data
inline constexpr std::uint16_t kFlagPatched = 1U << 5U;
inline constexpr std::uint16_t kFlagStrongEncryption = 1U << 6U;
inline constexpr std::uint16_t kFlagUtf8 = 1U << 11U;
inline constexpr std::uint16_t kFlagMasked = 1U << 13U;

// The system in "version made by", which decides what an entry's external attributes mean.
inline constexpr std::uint8_t kHostUnix = 3;
inline constexpr std::uint8_t kHostMacOS = 19;
inline constexpr std::uint32_t kDosFolder = 0x10;

// Extra fields: zip64, extended timestamp, and the Unix field that came before it.
inline constexpr std::uint16_t kExtraZip64 = 0x0001;
inline constexpr std::uint16_t kExtraTimestamp = 0x5455;
inline constexpr std::uint16_t kExtraOldUnix = 0x5855;

inline constexpr std::uint32_t kMax32 = 0xffffffff;
inline constexpr std::uint16_t kMax16 = 0xffff;

// Little-endian numbers, read from any alignment.
template <typename Number>
Number get(const unsigned char* bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        value |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
    return static_cast<Number>(value);
}
inline std::uint16_t get16(const unsigned char* bytes) {
    return get<std::uint16_t>(bytes);
}
inline std::uint32_t get32(const unsigned char* bytes) {
    return get<std::uint32_t>(bytes);
}
inline std::uint64_t get64(const unsigned char* bytes) {
    return get<std::uint64_t>(bytes);
}

template <typename Number>
void put(std::string& out, Number value) {
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        out += static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
}
inline void put16(std::string& out, std::uint64_t value) {
    put(out, static_cast<std::uint16_t>(value));
}
inline void put32(std::string& out, std::uint64_t value) {
    put(out, static_cast<std::uint32_t>(value));
}
inline void put64(std::string& out, std::uint64_t value) {
    put(out, value);
}

}  // namespace quillmoor::ditto::zip
