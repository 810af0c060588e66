// File references, and what the desktop's file manager keeps with an item.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// Names an item that existed when the reference was made. A plain value: it owns nothing and may be
// copied, kept and compared by its bytes. One that was never made names nothing.
struct FileReference {
    std::uint64_t device = 0;
    std::uint64_t item = 0;
    std::array<char, 4096> path{};  // absolute, without trailing slashes; ends in a NUL
};

// The part of an item's catalog information that is used here.
struct CatalogInfo {
    static constexpr std::uint16_t kNodeIsDirectory = 0x0010;

    std::uint16_t nodeFlags = 0;
    std::array<std::uint8_t, 32> finderInfo{};  // the flags, big-endian, are bytes 8 and 9

    std::uint16_t finderFlags() const {
        return static_cast<std::uint16_t>(finderInfo[8] << 8 | finderInfo[9]);
    }
    void setFinderFlags(std::uint16_t flags) {
        finderInfo[8] = static_cast<std::uint8_t>(flags >> 8);
        finderInfo[9] = static_cast<std::uint8_t>(flags & 0xFF);
    }
};

// Statuses are the platform's: 0 is success, and what is asked for is left alone otherwise. May be
// called from any thread.
class FinderInfo {
  public:
    virtual ~FinderInfo() = default;

    // `CFURLGetFSRef`: NO when nothing is at the path, or it is as long as no reference holds; the
    // reference is then left alone. Names a link itself.
    virtual bool makeReference(const std::string& path, FileReference& reference) = 0;

    // `CFURLCreateFromFSRef`: nil when the item is no longer where it was.
    virtual OptionalPath pathOfReference(const FileReference& reference) = 0;

    // `FSGetCatalogInfo`: an item that has no Finder information has zeroes. A failure when the
    // item is gone or another stands in its place, for links, pipes and devices where these cannot
    // have any, and for information that is too long; too short, it is completed by zeroes.
    virtual std::int32_t catalogInfo(const FileReference& reference, CatalogInfo& info) = 0;

    // `FSSetCatalogInfo`: writes the Finder information only. Fails as catalogInfo does, but
    // replaces information that is too long.
    virtual std::int32_t setFinderInfo(const FileReference& reference, const CatalogInfo& info) = 0;

    // Has the desktop's file manager look at the item again.
    virtual std::int32_t sendUpdateEvent(const FileReference& reference) = 0;
};

}  // namespace quillmoor::platform
