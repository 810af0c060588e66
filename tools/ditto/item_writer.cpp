#include "tools/ditto/item_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

using platform::posix::systemCalls;

// Leaves the date of the last access unchanged.
std::array<timespec, 2> datesOf(const Entry& entry) {
    std::array<timespec, 2> dates = {};
    dates[0].tv_nsec = UTIME_OMIT;
    dates[1].tv_sec = entry.modified;
    return dates;
}

// `standard` without the caller's mask is for folders that only names imply, and for archives
// without modes.
mode_t modeOf(const Entry* entry, unsigned standard, unsigned umask) {
    if (entry != nullptr && entry->mode >= 0) return static_cast<mode_t>(entry->mode);
    return standard & ~umask;
}

void finish(const Descriptor& opened, const PlannedItem& folder, unsigned umask) {
    if (systemCalls().fchmod(opened.get(), modeOf(folder.entry, 0777, umask)) != 0)
        failWithErrno(folder.path, "given its permissions");
    if (folder.entry != nullptr &&
        systemCalls().futimens(opened.get(), datesOf(*folder.entry).data()) != 0)
        failWithErrno(folder.path, "dated");
}

}  // namespace

FileWriter::FileWriter(int root, const std::vector<InputFile>& archives, unsigned umask,
                       const std::atomic<bool>& stop)
    : archives_(archives), umask_(umask), folders_(root), reader_(stop) {}

void FileWriter::write(const PlannedItem& file) {
    const Entry& entry = *file.entry;
    const int folder = folders_.open(folderOf(file.path));
    // A mode without write permission does not matter: it applies to the next open.
    Descriptor output(systemCalls().openat(folder, std::string(lastNameOf(file.path)).c_str(),
                                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW,
                                           modeOf(&entry, 0666, umask_)));
    if (!output) failWithErrno(file.path, "made");
    // The process's own mask is 0, so the file has its final mode from here on.
    const InputFile& archive = archives_[entry.archive];
    if (entry.size > kWholeEntry) {
        BackgroundSink sink(output.get(), file.path);
        reader_.read(archive, entry, sink);
    } else {
        sink_.start(output.get(), file.path);
        reader_.read(archive, entry, sink_);
    }
    // After the last write, which would change the date again.
    if (systemCalls().futimens(output.get(), datesOf(entry).data()) != 0)
        failWithErrno(file.path, "dated");
    // Some file systems report only now that the disk was full.
    const int error = platform::posix::closeChecked(output);
    if (error != 0) failWithError(file.path, "written", error);
}

void makeFolder(FolderCache& folders, const PlannedItem& folder) {
    const int parent = folders.open(folderOf(folder.path));
    // Its own mode, which may forbid writing, is set once it is filled.
    if (systemCalls().mkdirat(parent, std::string(lastNameOf(folder.path)).c_str(), S_IRWXU) != 0)
        failWithErrno(folder.path, "made");
}

void makeLink(FolderCache& folders, const PlannedItem& link) {
    const int parent = folders.open(folderOf(link.path));
    const std::string name(lastNameOf(link.path));
    const std::string target(link.entry->linkTarget);
    if (systemCalls().symlinkat(target.c_str(), parent, name.c_str()) != 0)
        failWithErrno(link.path, "made");
    const auto dates = datesOf(*link.entry);
    if (systemCalls().utimensat(parent, name.c_str(), dates.data(), AT_SYMLINK_NOFOLLOW) != 0)
        failWithErrno(link.path, "dated");
}

void finishFolder(int root, const PlannedItem& folder, unsigned umask) {
    finish(openFolderBeneath(root, folder.path), folder, umask);
}

void finishFolder(int root, const PlannedItem& folder, unsigned umask, const Identity& identity) {
    const Descriptor opened = openFolderBeneath(root, folder.path);
    if (identityOf(opened.get(), folder.path) != identity)
        failWithError(folder.path, "given its permissions", EBUSY);
    finish(opened, folder, umask);
}

}  // namespace quillmoor::ditto
