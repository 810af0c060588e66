// Where the system keeps its folders, and who its users are.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// The kinds of folder that the library asks for, with the platform's own values.
enum class SearchPathDirectory : unsigned {
    Application = 1,
    AdminApplication = 4,
    Library = 5,
    Documentation = 8,
    Document = 9,
    Desktop = 12,
    Caches = 13,
    ApplicationSupport = 14,
    Movies = 17
};

// Domain masks; any combination of bits may be asked for.
enum class SearchPathDomainMask : unsigned { User = 1, Local = 2, System = 8 };

constexpr SearchPathDomainMask operator|(SearchPathDomainMask a, SearchPathDomainMask b) {
    return static_cast<SearchPathDomainMask>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool contains(SearchPathDomainMask mask, SearchPathDomainMask bit) {
    return (static_cast<unsigned>(mask) & static_cast<unsigned>(bit)) != 0;
}

// The name of confstr's variable for the per-user cache folder.
inline constexpr int kDarwinUserCacheDirectory = 65538;

// May be called from any thread. No result is cached: users may log in or out at any time.
class Locations {
  public:
    virtual ~Locations() = default;

    // `NSSearchPathForDirectoriesInDomains` with the tilde expanded: user before local before
    // system. A kind that a domain lacks adds nothing. The folders need not exist.
    virtual StringList searchPaths(SearchPathDirectory directory, SearchPathDomainMask domain) = 0;

    // `NSHomeDirectory`: the home of the user this process runs for.
    virtual std::string homeDirectory() = 0;

    // `NSHomeDirectoryForUser`: nil for an unknown name. For a nil name, what the system returns:
    // on Linux root's home.
    virtual OptionalPath homeDirectoryForUser(const OptionalString& name) = 0;

    // `NSUserName`: the short name of the user this process runs for.
    virtual std::string userName() = 0;

    // `SCDynamicStoreCopyConsoleUser`: the short name of the user at the console, "loginwindow" at
    // the login screen, nil when there is none.
    virtual OptionalString consoleUser() = 0;

    // `confstr`: writes the value and a NUL into `buffer`, cut to its size. Returns the bytes that
    // the whole value needs with its NUL, 0 when there is no such value.
    virtual std::size_t confstr(int name, std::span<char> buffer) = 0;

    // `NSTemporaryDirectory`: an existing folder. On macOS its path ends in a slash.
    virtual std::string temporaryDirectory() = 0;
};

}  // namespace quillmoor::platform
