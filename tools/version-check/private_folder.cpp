#include "tools/version-check/private_folder.h"

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "quillmoor/base/paths.h"
#include "quillmoor/paths/KXLocalPaths.h"

namespace quillmoor::version_check {

PrivateFolder::PrivateFolder()
    : path_(*appendPathComponent(KXLocalPaths::tempDirectory(), "version-check-XXXXXX")) {
    if (::mkdtemp(path_.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), path_);
}

PrivateFolder::~PrivateFolder() {
    if (isKept_) return;
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace quillmoor::version_check
