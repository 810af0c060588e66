// The process's one administrator-rights session, and the file operations that use it.
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

#include "quillmoor/base/shared_object.h"
#include "quillmoor/base/types.h"
#include "quillmoor/platform/authorization.h"

namespace quillmoor {

// May the user be asked for an administrator's name and password?
enum class WithGUI : bool { No, Yes };

// Is the caller the super-user's own account, whose rubbish is deleted and not put into a Trash?
enum class DeleteOnRootAccount : bool { No, Yes };

enum class Async : bool { No, Yes };

// Rights are asked for when the first operation needs them and kept for the rest of the process.
// The super-user has them without asking.
//
// sharedController and allocWithZone may be called from any thread; all else is for one thread at a
// time and blocks it while the user is asked. What is refused is told on the system console.
// Nothing is thrown but std::bad_alloc and, in a process of root's, a platform::Exception when the
// system cannot start a tool, for want of means or because an argument has a NUL in it or is too
// long. Tools that were started before that run on.
class KXAuthorization : public SharedObject<KXAuthorization> {
  public:
    // The session -------------------------------------------------------------------------------

    // `sharedController` and `sharedController:`: made on the first call, which alone decides
    // whether the user may be asked. Without a flag he may.
    static KXAuthorization* sharedController();
    static KXAuthorization* sharedController(WithGUI withGUI);

    // `allocWithZone:`: the one instance, once, recorded as the shared one; afterwards null.
    static KXAuthorization* allocWithZone();

    // `init` and `initWithoutGUI`: begin without rights, or with those that a privileged parent
    // handed over, and note the user's home unless this is the super-user. Nobody is asked.
    KXAuthorization* init();
    KXAuthorization* initWithoutGUI();

    // `dealloc` and `finalize`: authEnd. Nobody calls them, for nobody can release.
    void dealloc();
    void finalize();

    // `authStart`: asks the user, unless there are rights already. NO when there is no user
    // interface (told on the console), or when he refuses (told nowhere).
    bool authStart();

    // `authStartWithUser:password:`: asks for rights with these, without asking the user, also when
    // there are rights already: those are let go of without being given up. NO when either is nil,
    // YES in any case for the super-user. A refusal is told on the console and in the log. Wiping
    // the password is the caller's.
    bool authStartWithUser(const OptionalString& user, const OptionalString& password);

    // `authEnd`: gives the rights up. Tools that were started with them run on.
    void authEnd();

    // `authRef`: the setter neither frees the old reference nor copies the new.
    platform::AuthorizationRef authRef() const { return authRef_; }
    void setAuthRef(platform::AuthorizationRef reference) { authRef_ = reference; }

    // `isAuthorized`: rights are held, or this is the super-user.
    bool isAuthorized() const;

    // `canAuthorize`: the user may be asked, or this is the super-user.
    bool canAuthorize() const;

    // `hasGUI`
    bool hasGUI() const { return hasGUI_; }
    void setHasGUI(bool hasGUI) { hasGUI_ = hasGUI; }

    // `userDirectory`: the user's home when the session was made; nil under the super-user.
    const OptionalPath& userDirectory() const { return userDirectory_; }
    void setUserDirectory(OptionalPath path) { userDirectory_ = std::move(path); }

    // File operations ---------------------------------------------------------------------------
    // Each runs one of the system's own tools with administrator rights. YES means that the tool
    // was started: it may still run, and whether it succeeds is not asked. What the tool does not
    // finish stays as the tool leaves it.
    //
    // What would remove, trash or move one of the folders that KXLocalPaths protects is refused
    // before anything is asked. The test is of the path's text: a link on the way to an item is
    // followed as the tool follows it.

    // `authRemoveFile:`: an item, a folder with all it holds. A link is removed itself.
    bool authRemoveFile(const OptionalPath& path);

    // `authTrashFile:` and `authTrashFile:deleteOnRootAccount:`: moves an item into the user's
    // Trash. A name that is taken there gets the date and time, once: a second item of that name
    // within the second replaces the first. False, reported on the console, when the Trash cannot
    // be used; an item of which the desktop's Trash can keep no record is moved all the same, and
    // the console reports that the desktop cannot restore it. In a Trash that this process may not
    // search each name counts as taken. With DeleteOnRootAccount::Yes in root's own account the
    // item stays, and what has its new name in the Trash, dated or not, is removed.
    bool authTrashFile(const OptionalPath& path);
    bool authTrashFile(const OptionalPath& path, DeleteOnRootAccount deleteOnRootAccount);

    // `authTrashFolderContents:` and `authTrashFolderContents:deleteOnRootAccount:`: every entry of
    // a folder, hidden ones included, goes into the Trash; in root's own account, with
    // DeleteOnRootAccount::Yes, it is removed instead. The folder stays. All entries are tried; YES
    // when all were started, or when there are none or they cannot be listed.
    bool authTrashFolderContents(const OptionalPath& folder);
    bool authTrashFolderContents(const OptionalPath& folder,
                                 DeleteOnRootAccount deleteOnRootAccount);

    // `authMoveFolderContents:toPath:`: every entry into the folder `toPath`, which is neither
    // looked at nor made. All are tried.
    bool authMoveFolderContents(const OptionalPath& folder, const OptionalPath& toPath);

    // `authMoveFile:toPath:`: replaces an existing file; into an existing folder the item is moved.
    // NO when nothing is at `path`.
    bool authMoveFile(const OptionalPath& path, const OptionalPath& toPath);

    // `authCopyFile:toPath:`: with modes, owners and dates, links as links; replaces an existing
    // file; into an existing folder the item is copied. System folders may be copied. NO when
    // nothing is at `path`.
    bool authCopyFile(const OptionalPath& path, const OptionalPath& toPath);

    // `authCreateDir:`: a folder with those above it.
    bool authCreateDir(const OptionalPath& path);

    // Tools -------------------------------------------------------------------------------------

    // What the next two answer besides the platform's statuses.
    static constexpr std::int32_t kToolMissing = -2;
    static constexpr std::int32_t kNotAuthorized = -1;

    // `authExecTask:parameters:` and `authExecTask:parameters:async:`: starts a tool as the
    // super-user. 0 when it was started; under the super-user also when KXTaskEx refuses the path,
    // which is told there. With Async::No it returns when the tool has closed its output, normally
    // at its end; as root, at its end. The exit status is not asked. The tool has this
    // process's working folder; on Linux an empty one where root may not enter that folder, so that
    // relative paths among `parameters` fail.
    std::int32_t authExecTask(const OptionalPath& path, const StringList& parameters);
    std::int32_t authExecTask(const OptionalPath& path, const StringList& parameters, Async async);

  private:
    KXAuthorization() = default;
    KXAuthorization* initWithGUI(bool hasGUI);
    bool askForRights(const platform::AuthorizationItemSet& environment,
                      platform::AuthorizationFlags flags);
    void freeReference();
    bool isOwnAccountOfSuperUser(DeleteOnRootAccount deleteOnRootAccount) const;
    bool startTool(const std::string& tool, const StringList& arguments);
    OptionalPath trashFolder() const;
    bool moveToTrash(const OptionalPath& path);

    platform::AuthorizationRef authRef_ = nullptr;
    bool hasGUI_ = false;
    OptionalPath userDirectory_;
};

}  // namespace quillmoor
