#include "quillmoor/platform/posix/fs/atomic_write_posix.h"

#include <errno.h>
#include <fcntl.h>

#include <optional>

#include "quillmoor/platform/posix/fs/file_data_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/fs/place_posix.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/names_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

constexpr mode_t kUsualMode = 0666;

int createTemporary(const Place& place, std::string& name, Descriptor& file) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
    for (int attempt = 0; attempt < kTemporaryNameAttempts; ++attempt) {
        name = temporaryName(place.name);
        file =
            Descriptor(systemCalls().openat(place.folder.get(), name.c_str(), flags, kUsualMode));
        if (file) return 0;
        if (errno != EEXIST) return errno;
    }
    return EEXIST;
}

int fill(Descriptor& file, const Place& place, std::string_view contents) {
    const std::optional<Owner> owner = ownerOfNewItemsIn(place.folder.get());
    if (owner && systemCalls().fchown(file.get(), owner->user, owner->group) != 0) return errno;
    const int error = writeAll(file.get(), contents.data(), contents.size());
    return error != 0 ? error : closeChecked(file);
}

}  // namespace

int writeFileAtomically(const std::string& path, std::string_view contents) {
    Place place;
    const int missing = locate(path, place);
    if (missing != 0) return missing;
    if (!place.hasNameOfItsOwn() || place.asFolder) return EISDIR;
    std::string temporary;
    Descriptor file;
    int error = createTemporary(place, temporary, file);
    if (error != 0) return error;
    error = fill(file, place, contents);
    const SystemCalls& calls = systemCalls();
    const int folder = place.folder.get();
    if (error == 0 && calls.renameat(folder, temporary.c_str(), folder, place.name.c_str()) != 0)
        error = errno;
    if (error != 0) calls.unlinkat(folder, temporary.c_str(), 0);
    return error;
}

}  // namespace quillmoor::platform::posix
