#include "quillmoor/paths/KXLocalPaths.h"

#include <algorithm>

#include "quillmoor/base/paths.h"
#include "quillmoor/base/strings.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

using platform::SearchPathDirectory;
using platform::SearchPathDomainMask;

// What the system reports as the console's user while the login screen is shown.
constexpr char kLoginWindow[] = "loginwindow";

platform::Locations& locations() {
    return *platform::current().locations;
}

bool isRoot() {
    return platform::current().processInfo->realUserId() == 0;
}

// Removes root's home from the start. The second prefix is cut one character short, so that its
// last letter remains; the first is a prefix of characters, not of components. Both are kept for
// compatibility.
std::string withoutRootsHome(std::string path) {
    if (path.starts_with("/var/root")) path = substringFromIndex(path, 9);
    if (path.starts_with("/private/var/root")) path = substringFromIndex(path, 16);
    return path;
}

SearchPathDomainMask domain(UserDomain userDomain) {
    return userDomain == UserDomain::Yes ? SearchPathDomainMask::User : SearchPathDomainMask::Local;
}

}  // namespace

OptionalPath KXLocalPaths::pathForDirectory(SearchPathDirectory directory,
                                            SearchPathDomainMask forUserDomain) {
    const StringList found = locations().searchPaths(directory, forUserDomain);
    if (found.empty()) return std::nullopt;
    // A mask with further domains is not rewritten. Kept for compatibility.
    if (isRoot() && forUserDomain == SearchPathDomainMask::User)
        return appendPathComponent(userDirectory(), withoutRootsHome(found.front()));
    return found.front();
}

OptionalPath KXLocalPaths::applicationDirectory(UserDomain userDomain) {
    return pathForDirectory(SearchPathDirectory::Application, domain(userDomain));
}

OptionalPath KXLocalPaths::adminApplicationDirectory(UserDomain userDomain) {
    return pathForDirectory(SearchPathDirectory::AdminApplication, domain(userDomain));
}

OptionalPath KXLocalPaths::documentDirectory(UserDomain userDomain) {
    return pathForDirectory(SearchPathDirectory::Document, domain(userDomain));
}

OptionalPath KXLocalPaths::libraryDirectory(UserDomain userDomain) {
    return pathForDirectory(SearchPathDirectory::Library, domain(userDomain));
}

OptionalPath KXLocalPaths::prefsDirectory(UserDomain userDomain) {
    return appendPathComponent(libraryDirectory(userDomain), "Preferences");
}

OptionalPath KXLocalPaths::cacheDirectory(UserDomain userDomain) {
    return pathForDirectory(SearchPathDirectory::Caches, domain(userDomain));
}

OptionalPath KXLocalPaths::appSupportDirectory(UserDomain userDomain) {
    return pathForDirectory(SearchPathDirectory::ApplicationSupport, domain(userDomain));
}

OptionalPath KXLocalPaths::logDirectory(UserDomain userDomain) {
    return appendPathComponent(libraryDirectory(userDomain), "Logs");
}

OptionalPath KXLocalPaths::movieDirectory() {
    return pathForDirectory(SearchPathDirectory::Movies, SearchPathDomainMask::User);
}

OptionalPath KXLocalPaths::desktopDirectory() {
    return pathForDirectory(SearchPathDirectory::Desktop, SearchPathDomainMask::User);
}

OptionalPath KXLocalPaths::systemLibraryDirectory() {
    return pathForDirectory(SearchPathDirectory::Library, SearchPathDomainMask::System);
}

OptionalPath KXLocalPaths::localDocumentationDirectory() {
    return pathForDirectory(SearchPathDirectory::Documentation, SearchPathDomainMask::Local);
}

OptionalPath KXLocalPaths::trashDirectory() {
    return appendPathComponent(userDirectory(), ".Trash");
}

OptionalPath KXLocalPaths::darwinCacheDirectory() {
    char buffer[1024];
    const std::size_t length = locations().confstr(platform::kDarwinUserCacheDirectory, buffer);
    if (length == 0) return std::nullopt;
    // The length counts the NUL. It is that of the whole value, which the system has cut to the
    // buffer if it is longer.
    return std::string(buffer, std::min(length, sizeof buffer) - 1);
}

OptionalPath KXLocalPaths::userDirectory() {
    if (isRoot()) return locations().homeDirectoryForUser(currentConsoleUser());
    return locations().homeDirectory();
}

OptionalString KXLocalPaths::username() {
    if (isRoot()) return currentConsoleUser();
    return locations().userName();
}

OptionalString KXLocalPaths::currentConsoleUser() {
    OptionalString name = locations().consoleUser();
    if (name == kLoginWindow) return std::nullopt;
    return name;
}

bool KXLocalPaths::isPathOnTimeMachineVolume(const OptionalPath& path) {
    if (!path || !path->starts_with("/Volumes/")) return false;
    const StringList components = pathComponents(*path);
    return std::find(components.begin(), components.end(), "Backups.backupdb") != components.end();
}

}  // namespace quillmoor
