#include "tests/tools/ditto/zip_builder.h"

#include <zlib.h>

#include <stdexcept>
#include <utility>

#include "tools/ditto/zip_format.h"

namespace quillmoor::test {
namespace {

using ditto::zip::put16;
using ditto::zip::put32;
using ditto::zip::put64;
namespace zip = ditto::zip;

constexpr std::uint16_t kDate = (2020 - 1980) << 9 | 6 << 5 | 15;
constexpr std::uint16_t kTime = 12 << 11;

struct Written {
    std::string data;
    std::uint64_t size = 0;
    std::uint64_t compressedSize = 0;
    std::uint32_t crc = 0;
    std::uint16_t method = 0;
    std::uint64_t offset = 0;
};

Written written(const ZipItem& item, std::uint64_t offset) {
    Written out;
    out.data = item.deflated ? deflated(item.content) : item.content;
    out.size = item.size.value_or(item.content.size());
    out.compressedSize = item.compressedSize.value_or(out.data.size());
    out.crc = item.crc ? *item.crc : crcOf(item.content);
    out.method = item.method.value_or(item.deflated ? zip::kDeflated : zip::kStored);
    out.offset = item.offset.value_or(offset);
    return out;
}

std::string extraFor(const ZipItem& item, const Written& values) {
    std::string extra;
    if (item.modified) {
        put16(extra, zip::kExtraTimestamp);
        put16(extra, 5);
        extra += '\1';
        put32(extra, *item.modified);
    }
    if (item.zip64) {
        put16(extra, zip::kExtraZip64);
        put16(extra, 24);
        put64(extra, values.size);
        put64(extra, values.compressedSize);
        put64(extra, values.offset);
    }
    return extra;
}

void putMiddle(std::string& out, const Written& values, std::uint16_t flags, bool wide) {
    put16(out, 20);
    put16(out, flags);
    put16(out, values.method);
    put16(out, kTime);
    put16(out, kDate);
    put32(out, values.crc);
    put32(out, wide ? zip::kMax32 : values.compressedSize);
    put32(out, wide ? zip::kMax32 : values.size);
}

std::string localHeader(const ZipItem& item, const Written& declared) {
    const std::string& name = item.localName ? *item.localName : item.name;
    const bool wide = item.zip64 || item.localZip64;
    Written values;
    values.size = item.localSize.value_or(declared.size);
    values.compressedSize = item.localCompressedSize.value_or(declared.compressedSize);
    values.crc = item.localCrc.value_or(declared.crc);
    values.method = item.localMethod.value_or(declared.method);
    std::string extra;
    if (wide) {
        put16(extra, zip::kExtraZip64);
        put16(extra, 16);
        put64(extra, values.size);
        put64(extra, values.compressedSize);
    }
    std::string out;
    put32(out, zip::kLocalSignature);
    putMiddle(out, values, item.localFlags.value_or(item.flags), wide);
    put16(out, name.size());
    put16(out, extra.size());
    return out + name + extra;
}

std::string centralHeader(const ZipItem& item, const Written& values) {
    const std::string extra = extraFor(item, values);
    std::string out;
    put32(out, zip::kCentralSignature);
    put16(out, item.host * 256U + 20U);
    putMiddle(out, values, item.flags, item.zip64);
    put16(out, item.name.size());
    put16(out, extra.size());
    put16(out, 0);
    put16(out, 0);
    put16(out, 0);
    put32(out, item.mode << 16U | item.attributes);
    put32(out, item.zip64 ? zip::kMax32 : values.offset);
    return out + item.name + extra;
}

std::string end64Records(std::uint64_t count, std::uint64_t size, std::uint64_t offset) {
    std::string out;
    put32(out, zip::kEnd64Signature);
    put64(out, zip::kEnd64Size - 12);
    put16(out, 45);
    put16(out, 45);
    put64(out, 0);
    put64(out, count);
    put64(out, count);
    put64(out, size);
    put64(out, offset);
    put32(out, zip::kEnd64LocatorSignature);
    put32(out, 0);
    put64(out, offset + size);
    put32(out, 1);
    return out;
}

}  // namespace

ZipItem zipFile(std::string name, std::string content) {
    ZipItem item;
    item.name = std::move(name);
    item.content = std::move(content);
    return item;
}

ZipItem zipFolder(std::string name, std::uint32_t permissions) {
    ZipItem item;
    item.name = std::move(name);
    item.mode = 0040000 | permissions;
    return item;
}

ZipItem zipLink(std::string name, std::string target) {
    ZipItem item = zipFile(std::move(name), std::move(target));
    item.mode = 0120777;
    return item;
}

std::string buildZip(const std::vector<ZipItem>& items, bool end64) {
    std::string archive;
    std::string directory;
    for (const ZipItem& item : items) {
        const Written values = written(item, archive.size());
        archive += localHeader(item, values) + values.data;
        directory += centralHeader(item, values);
    }
    const std::uint64_t offset = archive.size();
    archive += directory;
    if (end64) archive += end64Records(items.size(), directory.size(), offset);
    put32(archive, zip::kEndSignature);
    put32(archive, 0);
    put16(archive, end64 ? zip::kMax16 : items.size());
    put16(archive, end64 ? zip::kMax16 : items.size());
    put32(archive, end64 ? zip::kMax32 : directory.size());
    put32(archive, end64 ? zip::kMax32 : offset);
    put16(archive, 0);
    return archive;
}

std::uint32_t crcOf(const std::string& content) {
    return static_cast<std::uint32_t>(
        ::crc32_z(0, reinterpret_cast<const unsigned char*>(content.data()), content.size()));
}

std::string deflated(const std::string& content) {
    z_stream stream = {};
    if (::deflateInit2(&stream, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("deflateInit2");
    std::string out(::deflateBound(&stream, content.size()), '\0');
    std::string input = content;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    ::deflate(&stream, Z_FINISH);
    out.resize(out.size() - stream.avail_out);
    ::deflateEnd(&stream);
    return out;
}

}  // namespace quillmoor::test
