#include "quillmoor/platform/linux/locations/search_paths_linux.h"

#include <string_view>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/linux/locations/user_dirs_linux.h"
#include "quillmoor/platform/posix/ground/small_file_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

// Root's home as the library's callers know it, not the one of this system.
constexpr std::string_view kRootsHome = "/var/root";
constexpr std::string_view kUserDirs = "user-dirs.dirs";

struct Kind {
    SearchPathDirectory directory;
    std::string_view path;     // below the domain's root
    std::string_view userDir;  // its name in user-dirs.dirs; such a kind is the user domain's alone
};

constexpr Kind kKinds[] = {
    {SearchPathDirectory::Application, "Applications", ""},
    {SearchPathDirectory::AdminApplication, "Applications/Utilities", ""},
    {SearchPathDirectory::Library, "Library", ""},
    {SearchPathDirectory::Documentation, "Library/Documentation", ""},
    {SearchPathDirectory::Document, "Documents", "DOCUMENTS"},
    {SearchPathDirectory::Desktop, "Desktop", "DESKTOP"},
    {SearchPathDirectory::Caches, "Library/Caches", ""},
    {SearchPathDirectory::ApplicationSupport, "Library/Application Support", ""},
    {SearchPathDirectory::Movies, "Movies", "VIDEOS"},
};

const Kind* kindOf(SearchPathDirectory directory) {
    for (const Kind& each : kKinds) {
        if (each.directory == directory) return &each;
    }
    return nullptr;
}

std::string joined(std::string_view folder, std::string_view path) {
    return *appendPathComponent(std::string(folder), std::string(path));
}

// The folder in the user's settings, moved from the home to the root of the results where the two
// differ.
OptionalPath placedByUser(const UserDomainFolders& user, std::string_view kind) {
    if (user.settingsFile.empty()) return std::nullopt;
    // Read again for each question: the user may move a folder while the program runs.
    const std::optional<std::string> settings =
        user.settingsOwner
            ? posix::readSmallFileOf(*user.settingsOwner, user.settingsFile, kLongestUserDirs)
            : posix::readSmallFile(user.settingsFile, kLongestUserDirs);
    if (!settings) return std::nullopt;
    OptionalPath path = userDir(*settings, kind, user.home);
    if (!path || user.root == user.home) return path;
    // A folder outside of the home has no counterpart below the root.
    const std::string inside = user.home + "/";
    if (!path->starts_with(inside)) return std::nullopt;
    return joined(user.root, path->substr(inside.size()));
}

}  // namespace

UserDomainFolders foldersOfThisUser() {
    const std::string home = homeOfThisProcess();
    const std::string config =
        absolutePathInEnvironment("XDG_CONFIG_HOME").value_or(joined(home, ".config"));
    return {home, home, joined(config, kUserDirs), std::nullopt};
}

UserDomainFolders foldersOfRoot(const std::optional<posix::User>& consoleUser) {
    const std::string root(kRootsHome);
    if (!consoleUser || !consoleUser->home.starts_with('/')) return {root, root, "", std::nullopt};
    const std::string settings = joined(joined(consoleUser->home, ".config"), kUserDirs);
    // With an owner: as root this process must not read any other file through a link.
    return {root, withoutTrailingSlashes(consoleUser->home), settings, consoleUser->id};
}

StringList standardFolders(const UserDomainFolders& user, SearchPathDirectory directory,
                           SearchPathDomainMask domain) {
    const Kind* kind = kindOf(directory);
    if (kind == nullptr) return {};
    StringList folders;
    if (contains(domain, SearchPathDomainMask::User)) {
        const OptionalPath placed =
            kind->userDir.empty() ? std::nullopt : placedByUser(user, kind->userDir);
        folders.push_back(placed.value_or(joined(user.root, kind->path)));
    }
    if (!kind->userDir.empty()) return folders;
    if (contains(domain, SearchPathDomainMask::Local)) folders.push_back(joined("/", kind->path));
    if (contains(domain, SearchPathDomainMask::System))
        folders.push_back(joined("/System", kind->path));
    return folders;
}

}  // namespace quillmoor::platform::linux_
