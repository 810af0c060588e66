// Writes zip archives byte by byte, so that their headers can be wrong.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillmoor::test {

struct ZipItem {
    std::string name;
    std::string content;
    std::uint32_t mode = 0100644;
    bool deflated = false;

    // Wrong values for the headers.
    std::optional<std::string> localName;
    std::optional<std::uint64_t> localSize;
    std::optional<std::uint64_t> localCompressedSize;
    std::optional<std::uint32_t> localCrc;
    std::optional<std::uint16_t> localMethod;
    std::optional<std::uint16_t> localFlags;
    std::optional<std::uint64_t> size;
    std::optional<std::uint64_t> compressedSize;
    std::optional<std::uint32_t> crc;
    std::optional<std::uint16_t> method;
    std::optional<std::uint64_t> offset;
    std::uint16_t flags = 0;
    std::uint8_t host = 3;
    std::uint32_t attributes = 0;           // without the mode
    std::optional<std::uint32_t> modified;  // in an extra field
    bool zip64 = false;                     // sizes and offset in an extra field
    bool localZip64 = false;                // only the local header's sizes
};

ZipItem zipFile(std::string name, std::string content = "content");
ZipItem zipFolder(std::string name, std::uint32_t permissions = 0755);
ZipItem zipLink(std::string name, std::string target);

std::string buildZip(const std::vector<ZipItem>& items, bool end64 = false);

std::uint32_t crcOf(const std::string& content);

// Raw deflate.
std::string deflated(const std::string& content);

}  // namespace quillmoor::test
