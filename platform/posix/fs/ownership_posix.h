// Whom new items belong to: what the super-user makes in a user's home is that user's.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

struct Owner {
    uid_t user = 0;
    gid_t group = 0;
};

// The owner that a new item in the open folder `folder` is to be given; nil when it is to belong to
// this process's own user, as everywhere but in another user's home. The folder's owner decides,
// and only where the folder really lies in that owner's home.
std::optional<Owner> ownerOfNewItemsIn(int folder);

// Makes the folder `name` in the open folder `folder` and opens it for reading as `made`. Safe
// where a hostile user renames things meanwhile: no link is followed, and the super-user goes on
// only with an empty folder of his own. For names that nobody else uses. Answers 0 or the error
// number, EEXIST only when anything had that name.
int makeFolder(int folder, const std::string& name, mode_t mode, Descriptor& made);

// The same for any name and another user, whose folder appears under that name at once.
int makeFolderFor(const Owner& owner, int folder, const std::string& name, mode_t mode,
                  Descriptor& made);

// A hook, which the back-end's own folder defines, since few systems can hold a link open: gives
// the link `name` itself, one that this process has just made, to `owner`. Whatever else may have
// been put in its place is left unchanged: ESTALE. Returns 0 or the error number. Called for each
// link that is copied from another user, and for the link to the Trash.
int giveLink(int folder, const std::string& name, const Owner& owner);

}  // namespace quillmoor::platform::posix
