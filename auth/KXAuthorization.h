// The process's one authorization session, and the file operations that use it.
//
//   auto* session = KXAuthorization::sharedController();
//   if (session->authTrashFile("/Library/Startup/old.tool"))   // asks for a password when it must
//       …                                                      // the move has been started
//
// Contents:
//   The session        KXAuthorization.cpp, KXAuthorization+Rights.cpp
//   File operations    KXAuthorization+Files.cpp, KXAuthorization+Trash.cpp
//   Tools              KXAuthorization+Tools.cpp
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "quillmoor/base/failure.h"
#include "quillmoor/base/shared_object.h"
#include "quillmoor/base/types.h"
#include "quillmoor/platform/authorization.h"

namespace quillmoor {

// May the user be asked for an administrator's name and password?
enum class WithGUI : bool { No, Yes };

// In root's own account, is an item deleted instead of put into a Trash?
enum class DeleteOnRootAccount : bool { No, Yes };

// Does the operation return when the tool has been started (Yes), or when it has ended (No)?
enum class Async : bool { No, Yes };

// Administrator rights are requested when the first operation needs them, and kept until the
// process exits. A process of root (real user id 0) has them without a request.
//
// sharedController and allocWithZone may be called from any thread. Everything else must be called
// by one thread at a time, and blocks it while the user is asked. Refusals are reported on the
// system console; KXFailure::last() is the reason of a failure. Throws std::bad_alloc, and in a
// process of root also platform::Exception when the system cannot start a tool: for a lack of
// resources, or because an argument contains a NUL or is too long. Tools that were started before
// that continue.
class KXAuthorization : public SharedObject<KXAuthorization> {
  public:
    // The session -------------------------------------------------------------------------------

    // `sharedController` and `sharedController:`: the session, created by the first call. That call
    // alone decides whether the user may be asked, by default yes.
    static KXAuthorization* sharedController();
    static KXAuthorization* sharedController(WithGUI withGUI);

    // `allocWithZone:`: on the first call the one instance, which becomes the shared one;
    // afterwards null.
    static KXAuthorization* allocWithZone();

    // `init` and `initWithoutGUI`: begin without rights, or with those that a parent process with
    // administrator rights has passed to this one, and store the user's home unless this is root.
    // The user is not asked.
    KXAuthorization* init();
    KXAuthorization* initWithoutGUI();

    // `dealloc` and `finalize`: authEnd. The library never calls them: nothing can release the
    // session.
    void dealloc();
    void finalize();

    // `authStart`: asks the user, unless rights are held already. False when there is no user
    // interface (reported on the console), and when the request fails, is refused or cancelled (not
    // reported).
    bool authStart();

    // `authStartWithUser:password:`: requests rights with these credentials and without asking the
    // user. Rights that are held already are replaced; their reference is not freed. False when
    // either is nil; true for root in any case. A refusal is reported on the console and in the
    // log. The caller has to erase the password.
    bool authStartWithUser(const OptionalString& user, const OptionalString& password);

    // `authEnd`: releases the rights. Tools that were started with them continue.
    void authEnd();

    // `authRef`: the setter neither frees the old reference nor copies the new.
    platform::AuthorizationRef authRef() const { return authRef_; }
    void setAuthRef(platform::AuthorizationRef reference) { authRef_ = reference; }

    // `isAuthorized`: rights are held, or this is root.
    bool isAuthorized() const;

    // `canAuthorize`: the user may be asked, or this is root.
    bool canAuthorize() const;

    // `hasGUI`: the user may be asked.
    bool hasGUI() const { return hasGUI_; }
    void setHasGUI(bool hasGUI) { hasGUI_ = hasGUI; }

    // `userDirectory`: the user's home when the session was created; nil for root.
    const OptionalPath& userDirectory() const { return userDirectory_; }
    void setUserDirectory(OptionalPath path) { userDirectory_ = std::move(path); }

    // File operations ---------------------------------------------------------------------------
    // Each runs one of the system's own tools with administrator rights. True means that the tool
    // was started: it may still run, and its exit status is not examined. After a failure of the
    // tool the items are as the tool leaves them.
    //
    // Removing, trashing or moving a folder that KXLocalPaths protects is refused before the user
    // is asked. Only the path's text is checked: the tool follows links on the way to an item.

    // `authRemoveFile:`: removes an item, a folder with its contents. A link itself is removed, not
    // its target.
    bool authRemoveFile(const OptionalPath& path);

    // `authTrashFile:` and `authTrashFile:deleteOnRootAccount:`: moves an item into the user's
    // Trash. If the name exists there, the date and time are added to it, once: a second item of
    // that name within the same second replaces the first. False, reported on the console, when the
    // Trash cannot be used. An item for which the Trash cannot keep a record is moved nevertheless,
    // and the console reports that the desktop cannot restore it. In a Trash that this process may
    // not search every name counts as taken.
    //
    // With DeleteOnRootAccount::Yes in root's own account the item is left unchanged, and the item
    // in the Trash that has its new name, dated or not, is removed. Kept for compatibility.
    bool authTrashFile(const OptionalPath& path);
    bool authTrashFile(const OptionalPath& path, DeleteOnRootAccount deleteOnRootAccount);

    // `authTrashFolderContents:` and `authTrashFolderContents:deleteOnRootAccount:`: moves every
    // entry of a folder, hidden ones included, into the Trash; in root's own account, with
    // DeleteOnRootAccount::Yes, removes it instead. The folder itself stays. All entries are tried.
    // True when the tool was started for each, and when there are none or they cannot be listed.
    bool authTrashFolderContents(const OptionalPath& folder);
    bool authTrashFolderContents(const OptionalPath& folder,
                                 DeleteOnRootAccount deleteOnRootAccount);

    // `authMoveFolderContents:toPath:`: moves every entry into the folder `toPath`, which is
    // neither checked nor created. All entries are tried. True as above.
    bool authMoveFolderContents(const OptionalPath& folder, const OptionalPath& toPath);

    // `authMoveFile:toPath:`: moves an item to `toPath`, and replaces an existing file there; if
    // `toPath` is an existing folder, the item is moved into it. False when nothing exists at
    // `path`, also for a dangling link (not reported), and when either path is nil.
    bool authMoveFile(const OptionalPath& path, const OptionalPath& toPath);

    // `authCopyFile:toPath:`: copies an item with modes, owners and dates, links as links. An
    // existing destination as for authMoveFile. Protected folders may be copied. False as above.
    bool authCopyFile(const OptionalPath& path, const OptionalPath& toPath);

    // `authCreateDir:`: creates a folder with those above it. Unless this is root, waits 500
    // microseconds for the tool after it was started.
    bool authCreateDir(const OptionalPath& path);

    // Tools -------------------------------------------------------------------------------------

    // What authExecTask returns besides the platform's statuses.
    static constexpr std::int32_t kToolMissing = -2;
    static constexpr std::int32_t kNotAuthorized = -1;

    // `authExecTask:parameters:` and `authExecTask:parameters:async:`: starts a tool as root, by
    // default with Async::Yes. Returns 0 when it was started; in a process of root also when
    // KXTaskEx refuses the path, which it reports. kToolMissing, reported on the console, when
    // nothing exists at the path; kNotAuthorized when rights are not granted.
    //
    // With Async::No it returns when the tool has closed its output, normally at its end; in a
    // process of root, at its end. The exit status is not examined. The tool has this process's
    // working folder; on Linux an empty one if root may not enter that folder, so that relative
    // paths in `parameters` fail.
    std::int32_t authExecTask(const OptionalPath& path, const StringList& parameters);
    std::int32_t authExecTask(const OptionalPath& path, const StringList& parameters, Async async);

  private:
    KXAuthorization() = default;
    KXAuthorization* initWithGUI(bool hasGUI);
    bool askForRights(const platform::AuthorizationItemSet& environment,
                      platform::AuthorizationFlags flags);
    void freeReference();
    bool isOwnAccountOfRoot(DeleteOnRootAccount deleteOnRootAccount) const;
    std::int32_t execTask(const OptionalPath& path, const StringList& parameters, Async async);
    bool startTool(const std::string& tool, const StringList& arguments);
    OptionalPath trashFolder() const;
    bool moveToTrash(const OptionalPath& path);

    platform::AuthorizationRef authRef_ = nullptr;
    bool hasGUI_ = false;
    OptionalPath userDirectory_;
};

}  // namespace quillmoor
