#include "quillmoor/platform/linux/trash/trash_folder_linux.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/linux/trash/trashinfo_linux.h"
#include "quillmoor/platform/posix/fs/create_folder_posix.h"
#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

using posix::Descriptor;
using posix::Identity;
using posix::systemCalls;

constexpr char kLinkName[] = ".Trash";
constexpr char kItemsName[] = "files";
constexpr char kRecordsName[] = "info";

std::optional<struct stat> statusOf(int folder, const char* name) {
    struct stat status;
    const int failed = name == nullptr
                           ? systemCalls().fstat(folder, &status)
                           : systemCalls().fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW);
    if (failed != 0) return std::nullopt;
    return status;
}

// The environment applies to this process's own home only.
OptionalPath dataFolderInEnvironment(const Identity& home) {
    const OptionalPath folder = absolutePathInEnvironment("XDG_DATA_HOME");
    struct stat own;
    if (!folder || posix::statusAt(homeOfThisProcess(), own) != 0) return std::nullopt;
    return posix::identityOf(own) == home ? folder : std::nullopt;
}

std::string readLink(int folder, const char* name) {
    std::string target(PATH_MAX, '\0');
    const ssize_t size = systemCalls().readlinkat(folder, name, target.data(), target.size());
    target.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return target;
}

// The folder of the Trash, relative to the home, by another user's link to its items; empty when
// the link leads anywhere else. The target is only read, never followed.
StringList trashOfLink(std::string_view target, const std::string& home) {
    const std::string prefix = home + "/";
    if (target.starts_with(prefix)) target.remove_prefix(prefix.size());
    StringList components = pathComponents(target);
    if (components.size() < 2 || components.back() != kItemsName) return {};
    components.pop_back();
    const bool leadsOut = std::any_of(components.begin(), components.end(), [](const auto& name) {
        return name == "/" || name == "." || name == "..";
    });
    return leadsOut ? StringList{} : components;
}

void makeLink(int home, const std::string& trash, const std::optional<posix::Owner>& owner) {
    const std::string target = trash + "/" + kItemsName;
    // A failure is ignored: the Trash works without the link.
    if (systemCalls().symlinkat(target.c_str(), home, kLinkName) == 0 && owner)
        posix::giveLink(home, kLinkName, *owner);
}

}  // namespace

std::optional<TrashFolder> TrashFolder::open(const std::string& homePath, int& error) {
    TrashFolder trash;
    Descriptor home;
    error = homePath.starts_with('/') ? posix::openFolder(homePath, home) : EINVAL;
    if (error != 0) return std::nullopt;
    const auto status = statusOf(home.get(), nullptr);
    error = status ? 0 : errno;
    if (error != 0) return std::nullopt;
    if (::geteuid() == 0 && status->st_uid != 0)
        trash.owner_ = posix::Owner{status->st_uid, status->st_gid};
    const auto existing = statusOf(home.get(), kLinkName);
    error = existing && S_ISDIR(existing->st_mode) ? trash.openPlainFolder(home)
                                                   : trash.openLocation(home, homePath);
    if (error != 0) return std::nullopt;
    return trash;
}

int TrashFolder::openPlainFolder(const Descriptor& home) {
    // Without following a link, since the folder may have been replaced by one since its status was
    // read.
    items_ = Descriptor(systemCalls().openat(home.get(), kLinkName, posix::kReadFolder, 0));
    const auto status = items_ ? statusOf(items_.get(), nullptr) : std::nullopt;
    if (!status) return errno;
    top_ = posix::identityOf(*status);
    return 0;
}

int TrashFolder::openLocation(const Descriptor& home, const std::string& homePath) {
    const StringList usual{".local", "share", "Trash"};
    const auto existing = statusOf(home.get(), kLinkName);
    // The user's XDG_DATA_HOME is not known to root. This link shows where the user's own programs
    // have put the Trash.
    if (owner_ && existing && S_ISLNK(existing->st_mode)) {
        const StringList components = trashOfLink(readLink(home.get(), kLinkName), homePath);
        return components.empty() ? ELOOP : openTrash(home, components);
    }
    const auto homeStatus = statusOf(home.get(), nullptr);
    const OptionalPath data = owner_ || !homeStatus
                                  ? std::nullopt
                                  : dataFolderInEnvironment(posix::identityOf(*homeStatus));
    Descriptor dataFolder;
    int error = data ? posix::createFolders(*data) : 0;
    if (data && error == 0) error = posix::openFolder(*data, dataFolder);
    if (error == 0) error = data ? openTrash(dataFolder, {"Trash"}) : openTrash(home, usual);
    if (error == 0 && !existing)
        makeLink(home.get(), data ? *data + "/Trash" : componentsJoined(usual, "/"), owner_);
    return error;
}

int TrashFolder::openTrash(const Descriptor& start, const StringList& components) {
    Descriptor trash;
    int at = start.get();
    for (const std::string& component : components) {
        const int error = enter(at, component, trash);
        if (error != 0) return error;
        at = trash.get();
    }
    const auto status = statusOf(at, nullptr);
    if (!status) return errno;
    top_ = posix::identityOf(*status);
    const int error = enter(at, kItemsName, items_);
    return error != 0 ? error : enter(at, kRecordsName, records_);
}

// Opens the folder `name`, making it if it is missing.
int TrashFolder::enter(int folder, const std::string& name, Descriptor& next) const {
    // Users may lead their own Trash elsewhere by a link, for example to a larger disk; root
    // follows none of another user's.
    const int flags = posix::kSearchFolder | (owner_ ? O_NOFOLLOW : 0);
    Descriptor found(systemCalls().openat(folder, name.c_str(), flags, 0));
    if (!found && errno == ENOENT) {
        const int error = make(folder, name, next);
        if (error != EEXIST) return error;
        // Another process has made it meanwhile.
        found = Descriptor(systemCalls().openat(folder, name.c_str(), flags, 0));
    }
    if (!found) return errno;
    next = std::move(found);
    return 0;
}

int TrashFolder::make(int folder, const std::string& name, Descriptor& next) const {
    if (owner_) return posix::makeFolderFor(*owner_, folder, name, S_IRWXU, next);
    if (systemCalls().mkdirat(folder, name.c_str(), S_IRWXU) != 0) return errno;
    next = Descriptor(systemCalls().openat(folder, name.c_str(), posix::kReadFolder, 0));
    return next ? 0 : errno;
}

bool TrashFolder::hasItem(const std::string& name) const {
    return statusOf(items_.get(), name.c_str()).has_value();
}

int TrashFolder::reserve(const std::string& name, std::string_view originalPath) const {
    // An item need not have a record: one that another program has moved here, or one in a real
    // folder ~/.Trash.
    if (hasItem(name)) return EEXIST;
    return makeRecord(name, originalPath);
}

int TrashFolder::record(const std::string& name, std::string_view originalPath) const {
    // A record without an item is left over from a tool that failed.
    release(name);
    return makeRecord(name, originalPath);
}

int TrashFolder::makeRecord(const std::string& name, std::string_view originalPath) const {
    const posix::SystemCalls& calls = systemCalls();
    if (!records_) return 0;
    const std::string record = name + std::string(kTrashInfoSuffix);
    const std::string text = trashInfo(originalPath, std::time(nullptr));
    // O_EXCL reserves the name: other programs make the record before they move the item as well.
    Descriptor file(calls.openat(records_.get(), record.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!file) return errno;
    int error = 0;
    if (owner_ && calls.fchown(file.get(), owner_->user, owner_->group) != 0) error = errno;
    if (error == 0) error = posix::writeAll(file.get(), text.data(), text.size());
    if (error == 0) error = posix::closeChecked(file);
    // A record that is empty or cut, as on a full disk, must not reserve the name.
    if (error != 0) release(name);
    return error;
}

// Without an allocation: the record must also be removed when a move fails for lack of memory.
void TrashFolder::release(const std::string& name) const noexcept {
    char record[NAME_MAX + 1] = {};
    if (!records_ || name.size() + kTrashInfoSuffix.size() > NAME_MAX) return;
    char* const end = std::copy(name.begin(), name.end(), record);
    std::copy(kTrashInfoSuffix.begin(), kTrashInfoSuffix.end(), end);
    systemCalls().unlinkat(records_.get(), record, 0);
}

}  // namespace quillmoor::platform::linux_
