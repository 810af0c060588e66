#include <array>
#include <string_view>

#include "quillmoor/base/strings.h"
#include "quillmoor/paths/KXLocalPaths.h"

namespace quillmoor {
namespace {

using Folder = OptionalPath (*)();

// A folder of the user's domain, then the machine's.
template <OptionalPath (*directory)(UserDomain), UserDomain domain>
OptionalPath in() {
    return directory(domain);
}

// Functions and not paths: for root the folders depend on who is logged in at the console.
constexpr std::array<Folder, 18> kProtectedFolders{
    in<KXLocalPaths::applicationDirectory, UserDomain::Yes>,
    in<KXLocalPaths::applicationDirectory, UserDomain::No>,
    in<KXLocalPaths::adminApplicationDirectory, UserDomain::Yes>,
    in<KXLocalPaths::adminApplicationDirectory, UserDomain::No>,
    in<KXLocalPaths::documentDirectory, UserDomain::Yes>,
    in<KXLocalPaths::documentDirectory, UserDomain::No>,
    in<KXLocalPaths::libraryDirectory, UserDomain::Yes>,
    in<KXLocalPaths::libraryDirectory, UserDomain::No>,
    in<KXLocalPaths::prefsDirectory, UserDomain::Yes>,
    in<KXLocalPaths::prefsDirectory, UserDomain::No>,
    in<KXLocalPaths::cacheDirectory, UserDomain::Yes>,
    in<KXLocalPaths::cacheDirectory, UserDomain::No>,
    in<KXLocalPaths::appSupportDirectory, UserDomain::Yes>,
    in<KXLocalPaths::appSupportDirectory, UserDomain::No>,
    KXLocalPaths::desktopDirectory,
    KXLocalPaths::userDirectory,
    KXLocalPaths::systemLibraryDirectory,
    KXLocalPaths::localDocumentationDirectory,
};

constexpr std::array<std::string_view, 2> kProtectedPaths{"/Users/Shared", "/Volumes"};

// Prefixes of characters, not of components: /usrlocal matches as well. Kept for compatibility.
constexpr std::array<std::string_view, 4> kSystemTrees{"/usr", "/var", "/private/var", "/System"};

constexpr std::size_t kShortestPath = 3;

// Removes the character before the slash as well, so that a protected folder with a trailing slash
// is not recognised. Kept for compatibility.
std::string withoutTrailingSlash(const std::string& path) {
    return path.ends_with('/') ? substringToIndex(path, lengthInUnits(path) - 2) : path;
}

bool isProtectedFolder(const std::string& path) {
    for (const Folder folder : kProtectedFolders)
        if (folder() == path) return true;
    for (const std::string_view protectedPath : kProtectedPaths)
        if (path == protectedPath) return true;
    return false;
}

bool isInSystemTree(const std::string& path) {
    for (const std::string_view tree : kSystemTrees)
        if (path.starts_with(tree)) return true;
    return false;
}

}  // namespace

bool KXLocalPaths::isPathSystemDirectory(const OptionalPath& path, ExactMatch exactMatch) {
    // Before the test of the length, which it would fail.
    if (path == "/") return true;
    if (!path || lengthInUnits(*path) < kShortestPath) return false;
    const std::string folder = withoutTrailingSlash(*path);
    if (isProtectedFolder(folder)) return true;
    return exactMatch == ExactMatch::No && isInSystemTree(folder);
}

bool KXLocalPaths::isPathSystemDirectory(const OptionalPath& path) {
    return isPathSystemDirectory(path, ExactMatch::No);
}

}  // namespace quillmoor
