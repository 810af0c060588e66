// A user's Trash, open.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"

namespace quillmoor::platform::linux_ {

// The freedesktop.org Trash of a home, or the real folder ~/.Trash where the user has one. Made by
// the super-user in another user's home, folders, link and records belong to that user; every step
// there is taken from an open folder and follows no link, because that user may be hostile.
class TrashFolder {
  public:
    // Opens the Trash of the home `home`, making what is missing: the folders, and ~/.Trash as a
    // link to its items where nothing stands. nil when it cannot be used, or when the super-user
    // would be led out of another user's home; `error` is EACCES then where this process may not
    // enter or change a folder on the way.
    static std::optional<TrashFolder> open(const std::string& home, int& error);

    // The open folder is the Trash or lies in it.
    bool holds(int folder) const { return posix::isSameOrBelow(folder, top_); }

    // A real folder ~/.Trash does not.
    bool keepsRecords() const { return bool(records_); }

    // The folder that items are moved to.
    int items() const { return items_.get(); }

    // Reserves a name with a record of where the item came from. Answers 0 or the error number,
    // EEXIST when an item or a record has that name. A real folder ~/.Trash has no records: there
    // only the item counts.
    int reserve(const std::string& name, std::string_view originalPath) const;

    // An item of that name is there, be it a dangling link.
    bool hasItem(const std::string& name) const;

    // Notes that an item of that name, which somebody else puts there, came from `originalPath`.
    // Replaces a record of that name. Answers 0 or the error number.
    int record(const std::string& name, std::string_view originalPath) const;

    // Takes the record away again, of an item that has not arrived.
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
