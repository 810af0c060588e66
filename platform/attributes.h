// An item's attributes.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "quillmoor/base/outcome.h"

namespace quillmoor::platform {

struct ItemAttributes {
    std::uint64_t size = 0;  // bytes; of a link, the link's own
    std::chrono::system_clock::time_point modificationDate;
    bool isImmutable = false;  // false where the file system has no such flag
};

// May be called from any thread. An empty path, or one with a NUL, is treated as a missing item.
// After a failure the item is as it was. Error codes are the system's error numbers.
class Attributes {
  public:
    virtual ~Attributes() = default;

    // `attributesOfItemAtPath:`: of a link itself; nil when the item is missing or its status
    // cannot be read.
    virtual std::optional<ItemAttributes> attributesOfItem(const std::string& path) = 0;

    // `NSFileImmutable`: an item that cannot be changed, renamed or removed. Does not follow links.
    // Succeeds without touching an item whose flag has the value already.
    virtual Outcome setImmutable(const std::string& path, bool immutable) = 0;

    // `NSFilePosixPermissions`: the mode bits. Follows links.
    virtual Outcome setPosixPermissions(const std::string& path, unsigned permissions) = 0;

    // `NSFileModificationDate`; the date of the last access is kept. Follows links.
    virtual Outcome setModificationDate(const std::string& path,
                                        std::chrono::system_clock::time_point date) = 0;

    // `NSFileCreationDate`: fails on systems that cannot set it.
    virtual Outcome setCreationDate(const std::string& path,
                                    std::chrono::system_clock::time_point date) = 0;
};

}  // namespace quillmoor::platform
