// The owner of new items: what root makes in a user's home belongs to that user.
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

// The owner for a new item in the open folder `folder`; nil when it is this process's own user, as
// everywhere except in another user's home. It is the owner of the folder, provided that the folder
// really is inside that owner's home.
std::optional<Owner> ownerOfNewItemsIn(int folder);

// Makes the folder `name` in the open folder `folder` and opens it for reading as `made`. Safe
// against a hostile user who renames items meanwhile: no link is followed, and root continues only
// with an empty folder that root owns; otherwise EBUSY. For names that no other process uses.
// Returns 0 or the error number, EEXIST only when the name was taken.
int makeFolder(int folder, const std::string& name, mode_t mode, Descriptor& made);

// The same for any name and another user, whose folder appears under that name at once.
int makeFolderFor(const Owner& owner, int folder, const std::string& name, mode_t mode,
                  Descriptor& made);

// A hook, which the back-end's folder defines, since few systems can hold a link open: makes
// `owner` the owner of the link `name` itself, which this process has just made. An item that has
// been put in its place, which is no link or has another owner than this process, is left
// unchanged: ESTALE. Returns 0 or the error number. Called for each
// link that is copied from another user, and for the link to the Trash.
int giveLink(int folder, const std::string& name, const Owner& owner);

}  // namespace quillmoor::platform::posix
