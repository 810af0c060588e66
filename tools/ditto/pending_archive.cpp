#include "tools/ditto/pending_archive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/paths.h"
#include "platform/posix/ground/names_posix.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/text.h"

namespace quillmoor::ditto {

PendingArchive::PendingArchive(std::string path, unsigned umask)
    : path_(std::move(path)), name_(lastPathComponent(path_)), umask_(umask) {
    struct stat info = {};
    if (::lstat(path_.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
        throw Failure(quoted(path_) + " is a folder");
    const std::string parent = parentPathOf(path_);
    folder_ = Descriptor(::open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder_) failWithErrno(parent, "opened");
}

PendingArchive::~PendingArchive() {
    if (!temporaryName_.empty() && ::unlinkat(folder_.get(), temporaryName_.c_str(), 0) != 0)
        warnOfResidue(temporaryName_);
}

Place PendingArchive::place() const {
    struct stat info = {};
    if (::fstat(folder_.get(), &info) != 0) failWithErrno(path_, "examined");
    return {info.st_dev, info.st_ino, name_};
}

void PendingArchive::create() {
    temporaryName_ = platform::posix::temporaryName(name_);
    file_ =
        Descriptor(::openat(folder_.get(), temporaryName_.c_str(),
                            O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666 & ~umask_));
    if (file_) return;
    const int error = errno;
    temporaryName_.clear();
    failWithError(path_, "made", error);
}

void PendingArchive::putInPlace() {
    if (!isItem(folder_.get(), temporaryName_, file_.get())) {
        // Another's, who may write to the folder.
        temporaryName_.clear();
        failWithError(path_, "replaced", EBUSY);
    }
    // Some file systems tell only now that the disk is full.
    if (::close(file_.release()) != 0) failWithErrno(path_, "written");
    if (::renameat(folder_.get(), temporaryName_.c_str(), folder_.get(), name_.c_str()) != 0)
        failWithErrno(path_, "replaced");
    temporaryName_.clear();
}

}  // namespace quillmoor::ditto
