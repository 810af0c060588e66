#include "tools/version-check/private_folder.h"

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "quillmoor/base/paths.h"
#include "quillmoor/paths/KXLocalPaths.h"

namespace quillmoor::version_check {
namespace {

// Whether another user could put a folder of his own in the place of one in `folder`.
bool canOthersExchange(const std::string& folder) {
    struct stat info {};
    if (::stat(folder.c_str(), &info) != 0) return false;  // reported when the folder is made
    if ((info.st_mode & S_ISVTX) != 0) return false;
    const bool isOwn = info.st_uid == 0 || info.st_uid == ::geteuid();
    return !isOwn || (info.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

}  // namespace

PrivateFolder::PrivateFolder()
    : path_(*appendPathComponent(KXLocalPaths::tempDirectory(), "version-check-XXXXXX")) {
    const std::string parent = deleteLastPathComponent(path_);
    if (canOthersExchange(parent))
        throw std::runtime_error(parent + ": other users can change this temporary folder; set " +
                                 "TMPDIR to another");
    if (::mkdtemp(path_.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), path_);
}

PrivateFolder::~PrivateFolder() {
    if (isKept_) return;
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace quillmoor::version_check
