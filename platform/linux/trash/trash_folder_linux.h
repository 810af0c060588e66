// An open Trash of a user.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"

namespace quillmoor::platform::linux_ {

// The freedesktop.org Trash of a home, or the real folder ~/.Trash where the user has one. Folders,
// link and records that root makes in another user's home belong to that user; every step there
// starts from an open folder and follows no link, because that user may be hostile.
class TrashFolder {
  public:
    // Opens the Trash of the home `home` and makes what is missing: the folders, and ~/.Trash as a
    // link to its items where no item has that name. nil when it cannot be used, or when it would
    // lead root out of another user's home; `error` is then the error number, EACCES where this
    // process may not enter or change a folder of the path.
    static std::optional<TrashFolder> open(const std::string& home, int& error);

    // True when the open folder is the Trash or is in it.
    bool holds(int folder) const { return posix::isSameOrBelow(folder, top_); }

    // False for a real folder ~/.Trash.
    bool keepsRecords() const { return bool(records_); }

    // The folder that items are moved to.
    int items() const { return items_.get(); }

    // Reserves a name by a record of the item's original path. Returns 0 or the error number,
    // EEXIST when an item or a record has that name. In a real folder ~/.Trash, which has no
    // records, it only checks for an item.
    int reserve(const std::string& name, std::string_view originalPath) const;

    // True when an item has that name, including a dangling link.
    bool hasItem(const std::string& name) const;

    // Records `originalPath` for an item that another process is about to move here under that
    // name. Replaces an existing record. Returns 0 or the error number.
    int record(const std::string& name, std::string_view originalPath) const;

    // Removes the record of an item that was not moved.
    void release(const std::string& name) const noexcept;

    // The longest name that leaves room for the record's suffix and for a number.
    static constexpr std::size_t kLongestName = 235;

  private:
    int openLocation(const posix::Descriptor& home, const std::string& homePath);
    int openPlainFolder(const posix::Descriptor& home);
    int openTrash(const posix::Descriptor& home, const StringList& components);
    int makeRecord(const std::string& name, std::string_view originalPath) const;
    int make(int folder, const std::string& name, posix::Descriptor& next) const;
    int enter(int folder, const std::string& name, posix::Descriptor& next) const;

    posix::Descriptor items_;
    posix::Descriptor records_;  // none for a real folder ~/.Trash
    posix::Identity top_;
    std::optional<posix::Owner> owner_;  // the other user, if the home is another user's
};

}  // namespace quillmoor::platform::linux_
