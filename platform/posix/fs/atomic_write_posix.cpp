#include "quillmoor/platform/posix/fs/atomic_write_posix.h"

#include <errno.h>
#include <fcntl.h>

#include <optional>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/names_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// The temporary file becomes the final one, so the umask applies to it as to any new file.
constexpr mode_t kUsualMode = 0666;

int createTemporary(const DirectoryEntry& entry, std::string& name, Descriptor& file) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
    for (int attempt = 0; attempt < kTemporaryNameAttempts; ++attempt) {
        name = temporaryName(entry.name);
        file =
            Descriptor(systemCalls().openat(entry.folder.get(), name.c_str(), flags, kUsualMode));
        if (file) return 0;
        if (errno != EEXIST) return errno;
    }
    return EEXIST;
}

int fill(Descriptor& file, const DirectoryEntry& entry, std::string_view contents) {
    const std::optional<Owner> owner = ownerOfNewItemsIn(entry.folder.get());
    // While the file has its temporary name: under the final one it belongs to the user from the
    // start.
    if (owner && systemCalls().fchown(file.get(), owner->user, owner->group) != 0) return errno;
    const int error = writeAll(file.get(), contents.data(), contents.size());
    return error != 0 ? error : closeChecked(file);
}

}  // namespace

int writeFileAtomically(const std::string& path, std::string_view contents) {
    DirectoryEntry entry;
    const int missing = resolveParent(path, entry);
    if (missing != 0) return missing;
    if (!entry.hasNameOfItsOwn() || entry.asFolder) return EISDIR;
    std::string temporary;
    Descriptor file;
    int error = createTemporary(entry, temporary, file);
    if (error != 0) return error;
    error = fill(file, entry, contents);
    const SystemCalls& calls = systemCalls();
    const int folder = entry.folder.get();
    if (error == 0 && calls.renameat(folder, temporary.c_str(), folder, entry.name.c_str()) != 0)
        error = errno;
    // A full disk, for example, shows only while the file is filled or closed: nothing must be left
    // of it then, and the old file is untouched.
    if (error != 0) calls.unlinkat(folder, temporary.c_str(), 0);
    return error;
}

}  // namespace quillmoor::platform::posix
