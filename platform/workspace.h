// The desktop: applications, packages and the Trash.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// What became of items that were to go into the Trash.
struct RecycleOutcome {
    bool allMoved = false;
    // Items that are complete in the Trash, though a part of each could not be removed from its old
    // place.
    struct RemainingCopy {
        std::string item;  // its old place
        std::string copy;  // its place in the Trash
    };
    std::vector<RemainingCopy> remainingCopies;

    explicit operator bool() const { return allMoved; }
};

// May be called from any thread.
class Workspace {
  public:
    virtual ~Workspace() = default;

    // `absolutePathForAppBundleWithIdentifier:`: nil when no such application is installed.
    virtual OptionalPath absolutePathForAppBundle(const std::string& identifier) = 0;

    // `openFile:`: starts an application on its own, or opens a document with its application. NO
    // when nothing is there, or nothing could be started.
    virtual bool openFile(const std::string& path) = 0;

    // `performFileOperation:` with the recycle operation: puts the items `names` of the folder
    // `source` into the user's Trash, from where the desktop can restore them. An empty `source` is
    // the current folder. An item whose name is taken there gets a new one. `destination` names the
    // Trash folder; nil is the user's own. An item that is not moved stays whole where it is and
    // nothing of it is in the Trash, but for those among `remainingCopies`. All items are tried.
    virtual RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                                   const StringList& names) = 0;

    // Before another process, one with more rights, moves an item into the Trash folder
    // `destination`: makes that folder what it must be, as its user's. NO when it cannot be used,
    // as one that leads out of its home; then nothing must be moved there.
    virtual bool prepareTrash(const std::string& destination) = 0;

    // Notes, in a Trash that was prepared, that `item` is about to come under `name`. An item of
    // that name keeps the note that it has. NO when there is no note: the item may be moved there
    // all the same, but the desktop cannot restore it.
    virtual bool announceTrash(const std::string& destination, const std::string& name,
                               const std::string& item) = 0;

    // Takes back what was announced of an item that is not coming.
    virtual void abandonTrash(const std::string& destination, const std::string& name) = 0;

    // `LSRegisterURL` with the update flag: makes the application at `path` known to the user's
    // desktop, so that absolutePathForAppBundle finds it wherever it lies. What was known of an
    // application with its identifier is replaced. 0, or the system's error number, as for a
    // missing path and for what is no application; then nothing has changed.
    virtual std::int32_t registerApplication(const std::string& path) = 0;

    // `noteFileSystemChanged:`: has the desktop look at the item again, where it does not do so
    // on its own.
    virtual void noteFileSystemChanged(const std::string& path) = 0;

    // `isFilePackageAtPath:`: a folder that the desktop shows as one file.
    virtual bool isFilePackage(const std::string& path) = 0;

    // Where the tool that macOS keeps at `path` is on this system; `path` itself when there is no
    // such tool.
    virtual std::string toolPath(const std::string& path) = 0;
};

}  // namespace quillmoor::platform
