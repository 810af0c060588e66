#include "tools/ditto/pending_archive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/ground/names_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/text.h"

namespace quillmoor::ditto {

using platform::posix::systemCalls;

PendingArchive::PendingArchive(std::string path, unsigned umask)
    : path_(std::move(path)), name_(lastPathComponent(path_)), umask_(umask) {
    // Not followed: a link is replaced, also one to a folder.
    struct stat info = {};
    if (systemCalls().fstatat(AT_FDCWD, path_.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISDIR(info.st_mode))
        throw Failure(quoted(path_) + " is a folder");
    const std::string parent = parentPathOf(path_);
    // O_PATH: the folder must be writable, but need not be readable.
    folder_ = Descriptor(systemCalls().openat(AT_FDCWD, parent.c_str(), O_PATH | O_DIRECTORY, 0));
    if (!folder_) failWithErrno(parent, "opened");
}

PendingArchive::~PendingArchive() {
    if (!temporaryName_.empty() &&
        systemCalls().unlinkat(folder_.get(), temporaryName_.c_str(), 0) != 0)
        warnOfResidue(temporaryName_);
}

ArchiveLocation PendingArchive::location() const {
    struct stat info = {};
    if (systemCalls().fstat(folder_.get(), &info) != 0) failWithErrno(path_, "examined");
    return {info.st_dev, info.st_ino, name_};
}

void PendingArchive::create() {
    // In the archive's own folder, so that the final rename stays on one file system.
    temporaryName_ = platform::posix::temporaryName(name_);
    file_ =
        Descriptor(systemCalls().openat(folder_.get(), temporaryName_.c_str(),
                                        O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0666 & ~umask_));
    if (file_) return;
    const int error = errno;
    temporaryName_.clear();
    failWithError(path_, "made", error);
}

void PendingArchive::putInPlace() {
    if (!isItem(folder_.get(), temporaryName_, file_.get())) {
        // Another user that may write to the folder has put it there: it is not removed.
        temporaryName_.clear();
        failWithError(path_, "replaced", EBUSY);
    }
    // Closed before the rename: an error that is only reported now must leave the old archive.
    const int error = platform::posix::closeChecked(file_);
    if (error != 0) failWithError(path_, "written", error);
    if (systemCalls().renameat(folder_.get(), temporaryName_.c_str(), folder_.get(),
                               name_.c_str()) != 0)
        failWithErrno(path_, "replaced");
    temporaryName_.clear();
}

}  // namespace quillmoor::ditto
