#include "quillmoor/platform/linux/desktop/application_search_linux.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/bundles/bundle_linux.h"
#include "quillmoor/platform/linux/desktop/desktop_entry_linux.h"
#include "quillmoor/platform/linux/ground/ascii_linux.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/linux/ground/programs_linux.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/ground/small_file_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

constexpr std::size_t kLongestEntry = std::size_t{1} << 20;
constexpr char kDataFolders[] = "/usr/local/share:/usr/share";

bool isFolder(const std::string& path) {
    struct stat status {};
    return posix::systemCalls().fstatat(AT_FDCWD, path.c_str(), &status, 0) == 0 &&
           S_ISDIR(status.st_mode);
}

// The visible folders in `folder`, including links to folders, sorted by name, so that the result
// does not depend on the folder's own order.
StringList foldersIn(const std::string& folder) {
    StringList paths;
    posix::DirectoryReader listing(posix::Descriptor(
        posix::systemCalls().openat(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY, 0)));
    while (const dirent* entry = listing.next()) {
        const std::string_view name(entry->d_name);
        if (name.starts_with('.')) continue;
        std::string path = *appendPathComponent(folder, std::string(name));
        // The type in the entry would not do: a link to a folder counts as one.
        if (isFolder(path)) paths.push_back(std::move(path));
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

bool isApplicationBundle(const std::string& path) {
    return equalsIgnoringCase(pathExtension(path), "app");
}

bool bears(const std::string& bundle, const std::string& identifier) {
    const auto info =
        current().propertyLists->dictionaryWithContentsOfFile(bundle + "/Contents/Info.plist");
    if (!info) return false;
    const auto found = info->find("CFBundleIdentifier");
    if (found == info->end()) return false;
    const OptionalString text = found->second.text();
    return text && equalsIgnoringCase(*text, identifier);
}

OptionalPath findBundle(const std::string& folder, const std::string& identifier) {
    const StringList inside = foldersIn(folder);
    for (const std::string& path : inside) {
        if (isApplicationBundle(path) && bears(path, identifier)) return path;
    }
    // One level of folders, as in Applications/Utilities. The applications of the folder itself
    // come first.
    for (const std::string& subfolder : inside) {
        if (isApplicationBundle(subfolder)) continue;
        for (const std::string& path : foldersIn(subfolder)) {
            if (isApplicationBundle(path) && bears(path, identifier)) return path;
        }
    }
    return std::nullopt;
}

// The .app that has the program, or the target of a link to it.
OptionalPath applicationAround(const std::string& program) {
    const std::unique_ptr<char, decltype(&::free)> real(
        posix::systemCalls().realpath(program.c_str(), nullptr), &::free);
    for (const std::string& path : {program, std::string(real != nullptr ? real.get() : "")}) {
        OptionalPath bundle = bundleFolderOf(path);
        if (bundle && isApplicationBundle(*bundle)) return bundle;
    }
    return std::nullopt;
}

// What the entry starts: an application that has the identifier, or a program without a bundle,
// where those count.
OptionalPath startedBy(const DesktopEntry& entry, const std::string& identifier,
                       bool mayBeProgram) {
    if (!entry.isApplication) return std::nullopt;
    // An entry whose TryExec is missing counts as not installed.
    if (entry.tryExec && !findProgram(*entry.tryExec)) return std::nullopt;
    const OptionalString name = entry.exec ? programInExec(*entry.exec) : std::nullopt;
    const OptionalPath program = name ? findProgram(*name) : std::nullopt;
    if (!program) return std::nullopt;
    const OptionalPath bundle = applicationAround(*program);
    if (!bundle) return mayBeProgram ? program : std::nullopt;
    // Another application is not found by an entry of this name: what is found may be removed.
    return bears(*bundle, identifier) ? bundle : std::nullopt;
}

std::optional<DesktopEntry> entryIn(const std::string& folder, const std::string& identifier) {
    const std::optional<std::string> text =
        posix::readSmallFile(*appendPathComponent(folder, identifier + ".desktop"), kLongestEntry);
    if (!text) return std::nullopt;
    return parseDesktopEntry(*text);
}

OptionalPath findByEntry(const StringList& folders, const std::string& identifier) {
    for (const std::string& folder : folders) {
        const std::optional<DesktopEntry> entry = entryIn(folder, identifier);
        if (!entry) continue;
        // Hides the entries of the same name in the folders that follow.
        if (entry->isHidden) return std::nullopt;
        if (OptionalPath path = startedBy(*entry, identifier, true)) return path;
    }
    return std::nullopt;
}

OptionalPath findByConsoleEntry(const OptionalPath& folder, const std::string& identifier) {
    const std::optional<DesktopEntry> entry = folder ? entryIn(*folder, identifier) : std::nullopt;
    if (!entry || entry->isHidden) return std::nullopt;
    return startedBy(*entry, identifier, false);
}

std::string entryFolderIn(const std::string& dataFolder) {
    return *appendPathComponent(dataFolder, "applications");
}

// Root has no desktop of its own: applications are those of the user at the console.
OptionalPath consoleHome() {
    Locations& locations = *current().locations;
    const OptionalString user = locations.consoleUser();
    return user ? locations.homeDirectoryForUser(user) : std::nullopt;
}

void addUserFolders(ApplicationFolders& folders) {
    if (current().processInfo->realUserId() == 0) {
        const OptionalPath home = consoleHome();
        if (!home) return;
        folders.bundles.push_back(*appendPathComponent(*home, "Applications"));
        folders.consoleEntries = entryFolderIn(*appendPathComponent(*home, ".local/share"));
        return;
    }
    folders.bundles = current().locations->searchPaths(SearchPathDirectory::Application,
                                                       SearchPathDomainMask::User);
    const OptionalPath data = absolutePathInEnvironment("XDG_DATA_HOME");
    folders.entries.push_back(
        entryFolderIn(data ? *data : *appendPathComponent(homeOfThisProcess(), ".local/share")));
}

}  // namespace

ApplicationFolders applicationFolders() {
    ApplicationFolders folders;
    addUserFolders(folders);
    for (const std::string& each : current().locations->searchPaths(
             SearchPathDirectory::Application, SearchPathDomainMask::Local))
        folders.bundles.push_back(each);
    folders.bundles.emplace_back("/opt");
    for (const std::string& each : foldersInEnvironment("XDG_DATA_DIRS", kDataFolders))
        folders.entries.push_back(entryFolderIn(each));
    return folders;
}

OptionalPath findApplication(const ApplicationFolders& folders, const std::string& identifier) {
    // The identifier becomes the name of a file, and must not lead to another folder.
    const bool named = !identifier.empty() && identifier.find('/') == std::string::npos &&
                       identifier.find('\0') == std::string::npos;
    if (!named) return std::nullopt;
    for (const std::string& folder : folders.bundles) {
        if (OptionalPath path = findBundle(folder, identifier)) return path;
    }
    if (OptionalPath path = findByConsoleEntry(folders.consoleEntries, identifier)) return path;
    return findByEntry(folders.entries, identifier);
}

}  // namespace quillmoor::platform::linux_
