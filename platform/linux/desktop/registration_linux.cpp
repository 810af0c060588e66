#include "quillmoor/platform/linux/desktop/registration_linux.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <optional>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/desktop/entry_folder_linux.h"
#include "quillmoor/platform/linux/desktop/entry_text_linux.h"
#include "quillmoor/platform/linux/desktop/opener_linux.h"
#include "quillmoor/platform/linux/ground/absolute_path_linux.h"
#include "quillmoor/platform/linux/ground/ascii_linux.h"
#include "quillmoor/platform/linux/ground/programs_linux.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

using posix::Descriptor;

bool isRoot() {
    return current().processInfo->realUserId() == 0;
}

struct Application {
    std::string identifier;
    std::string name;
    std::string program;
};

// As root no link in the bundle is followed: its owner may want a file read that only root may
// read.
std::optional<PropertyListDictionary> infoOf(const std::string& bundle) {
    const int noFollow = isRoot() ? O_NOFOLLOW : 0;
    const posix::SystemCalls& calls = posix::systemCalls();
    Descriptor folder;
    if (posix::openFolder(bundle, folder) != 0) return std::nullopt;
    const Descriptor contents(
        calls.openat(folder.get(), "Contents", posix::kSearchFolder | noFollow, 0));
    if (!contents) return std::nullopt;
    // Without waiting for a FIFO and without taking over a terminal: the bundle may be another
    // user's.
    const Descriptor file(
        calls.openat(contents.get(), "Info.plist", O_RDONLY | O_NONBLOCK | O_NOCTTY | noFollow, 0));
    if (!file) return std::nullopt;
    // By its descriptor, which is the file that was opened without following links.
    return current().propertyLists->dictionaryWithContentsOfFile("/proc/self/fd/" +
                                                                 std::to_string(file.get()));
}

OptionalString textIn(const PropertyListDictionary& info, const std::string& key) {
    const auto found = info.find(key);
    OptionalString text = found != info.end() ? found->second.text() : std::nullopt;
    return text && !text->empty() ? text : std::nullopt;
}

// True when a visible file may have that name.
bool isFileName(const std::string& identifier) {
    const bool plain = std::none_of(identifier.begin(), identifier.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return c == '/' || byte < 0x20 || byte == 0x7F;
    });
    return plain && !identifier.starts_with('.');
}

std::optional<Application> applicationAt(const std::string& path) {
    if (!equalsIgnoringCase(pathExtension(path), "app")) return std::nullopt;
    const auto info = infoOf(path);
    if (!info) return std::nullopt;
    const OptionalString identifier = textIn(*info, "CFBundleIdentifier");
    OptionalString name = textIn(*info, "CFBundleDisplayName");
    if (!name) name = textIn(*info, "CFBundleName");
    // Without a program the entry would be shown and start nothing.
    const OptionalPath program = programOfApplication(path);
    if (!identifier || !isFileName(*identifier) || !program) return std::nullopt;
    return Application{*identifier, name.value_or(deletePathExtension(lastPathComponent(path))),
                       *program};
}

int writeEntryOf(const Application& application) {
    const bool asRoot = isRoot();
    std::string path;
    Descriptor folder;
    int error = asRoot ? openConsoleUsersEntryFolder(folder) : openOwnEntryFolder(path, folder);
    if (error == 0)
        error = writeEntry(folder, application.identifier + ".desktop",
                           desktopEntryText(application.name, application.program));
    // Not as root: no program runs with root's privileges in a folder that the user fills.
    if (error != 0 || asRoot) return error;
    if (const OptionalPath tool = findProgram("update-desktop-database"))
        startOnItsOwn(*tool, {path});
    return 0;
}

}  // namespace

std::int32_t registerApplication(const std::string& path) {
    const OptionalPath absolute = absolutePath(path);
    struct stat status;
    const int missing = absolute ? posix::statusAt(path, status) : ENOENT;
    if (missing != 0) return missing;
    const std::optional<Application> application = applicationAt(*absolute);
    return application ? writeEntryOf(*application) : ENOEXEC;
}

}  // namespace quillmoor::platform::linux_
