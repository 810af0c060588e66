// File references, and the information that the desktop's file manager stores with an item.
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
    // The flags, big-endian, are bytes 8 and 9. A back-end may leave out the second half, which is
    // zero when it is read and unchanged when it is written.
    std::array<std::uint8_t, 32> finderInfo{};

    std::uint16_t finderFlags() const {
        return static_cast<std::uint16_t>(finderInfo[8] << 8 | finderInfo[9]);
    }
    void setFinderFlags(std::uint16_t flags) {
        finderInfo[8] = static_cast<std::uint8_t>(flags >> 8);
        finderInfo[9] = static_cast<std::uint8_t>(flags & 0xFF);
    }
};

// Statuses are the platform's: 0 is success; output parameters are unchanged otherwise. May be
// called from any thread.
class FinderInfo {
  public:
    virtual ~FinderInfo() = default;

    // `CFURLGetFSRef`: false when the item is missing, or its path is too long for a reference. Of
    // a link itself.
    virtual bool makeReference(const std::string& path, FileReference& reference) = 0;

    // `CFURLCreateFromFSRef`: nil when the item is no longer where it was.
    virtual OptionalPath pathOfReference(const FileReference& reference) = 0;

    // `FSGetCatalogInfo`: Finder information that is missing reads as zeroes; information that is
    // too short is completed with zeroes. Fails when the item was removed or replaced by another,
    // for links, pipes and devices where these cannot have any, and for information that is too
    // long.
    virtual std::int32_t catalogInfo(const FileReference& reference, CatalogInfo& info) = 0;

    // `FSSetCatalogInfo`: writes the Finder information only. Fails as catalogInfo does, but
    // replaces information that is too long. After a failure the item is unchanged.
    virtual std::int32_t setFinderInfo(const FileReference& reference, const CatalogInfo& info) = 0;

    // Asks the desktop's file manager to read the item again.
    virtual std::int32_t sendUpdateEvent(const FileReference& reference) = 0;
};

}  // namespace quillmoor::platform
