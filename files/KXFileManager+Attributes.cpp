#include <functional>

#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/files/tree_walk.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor {
namespace {

constexpr char kTouchTool[] = "/usr/bin/touch";
constexpr std::chrono::duration<double> kLongestTouch{5.0};

platform::Attributes& attributes() {
    return *platform::current().attributes;
}

// Lock failures are reported with the unlock message, for compatibility. A nil path fails like that
// of a missing item. fastAppendLog, because locking a tree may report many failures.
void setLocked(const OptionalPath& path, bool locked) {
    const Outcome changed = attributes().setImmutable(path.value_or(""), locked);
    if (notePartDone(static_cast<bool>(changed))) return;
    noteFailure(changed.error(), path);
    KXLog::fastAppendLog("Unable to unlock file %@: %@", path, changed.error().description);
}

void setAllLocked(const OptionalPath& folder, bool locked) {
    if (!folder) {
        noteFailure(KXFailure::Reason::MissingArgument);
        return;
    }
    TreeWalk walk;
    walk.visit = [locked](const std::string& item, const std::string&) {
        setLocked(item, locked);
        return true;
    };
    walkTree(*folder, walk);
}

void setCreatedNow(const std::string& path) {
    // Not supported by most file systems; the touch succeeds nevertheless.
    static_cast<void>(attributes().setCreationDate(path, platform::current().clock->now()));
}

// The result of the tool is not examined. Kept for compatibility.
bool touchAsUser(const std::string& path, SetCreationDate setCreationDate) {
    // -c: a missing item is not created.
    KXTaskEx::runTask(kTouchTool, StringList{"-c", path}, kLongestTouch);
    if (setCreationDate == SetCreationDate::Yes) setCreatedNow(path);
    return true;
}

// Unlike in touchAsUser the creation date is set first. Kept for compatibility.
bool touchWithAuthorization(const std::string& path, SetCreationDate setCreationDate) {
    if (setCreationDate == SetCreationDate::Yes) setCreatedNow(path);
    return KXAuthorization::sharedController()->authExecTask(kTouchTool, {"-c", path}, Async::No) ==
           0;
}

// Notes a change for the desktop when the scope ends, also by an exception.
class NoteOfChange {
  public:
    explicit NoteOfChange(const std::string& path) : path_(path) {}
    ~NoteOfChange() { platform::current().applications->noteFileSystemChanged(path_); }
    NoteOfChange(const NoteOfChange&) = delete;
    NoteOfChange& operator=(const NoteOfChange&) = delete;

  private:
    const std::string& path_;
};

bool touch(const OptionalPath& path, SetCreationDate setCreationDate) {
    if (!path) return noteFailure(KXFailure::Reason::MissingArgument);
    const NoteOfChange note(*path);
    return fileManager().isWritableFile(*path) ? touchAsUser(*path, setCreationDate)
                                               : touchWithAuthorization(*path, setCreationDate);
}

}  // namespace

// An item that cannot be examined counts as not locked.
bool KXFileManager::isFileLocked(const OptionalPath& path) try {
    if (!path) return false;
    const auto found = attributes().attributesOfItem(*path);
    return found && found->isImmutable;
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager isFileLocked:]", false);
}

void KXFileManager::lockFile(const OptionalPath& path) {
    perform({"+[KXFileManager lockFile:]", path}, [&] { setLocked(path, true); });
}

void KXFileManager::unlockFile(const OptionalPath& path) {
    perform({"+[KXFileManager unlockFile:]", path}, [&] { setLocked(path, false); });
}

void KXFileManager::lockFolder(const OptionalPath& path) {
    perform({"+[KXFileManager lockFolder:]", path}, [&] { setAllLocked(path, true); });
}

void KXFileManager::unlockFolder(const OptionalPath& path) {
    perform({"+[KXFileManager unlockFolder:]", path}, [&] { setAllLocked(path, false); });
}

void KXFileManager::setPosixPermissions(unsigned permissions, const OptionalPath& forFile) {
    perform({"+[KXFileManager setPosixPermissions:forFile:]", forFile}, [&] {
        const Outcome changed = attributes().setPosixPermissions(forFile.value_or(""), permissions);
        if (changed) return;
        noteFailure(changed.error());
        KXLog::appendLog("Error setting permissions for file %@: %@", forFile,
                         changed.error().description);
    });
}

bool KXFileManager::touchFile(const OptionalPath& path) {
    return recorded({"+[KXFileManager touchFile:]", path},
                    [&] { return touchFile(path, SetCreationDate::No); });
}

// platform::Exception reaches the caller, for compatibility.
bool KXFileManager::touchFile(const OptionalPath& path, SetCreationDate setCreationDate) {
    const OperationCall call{"+[KXFileManager touchFile:setCreationDate:]", path};
    return recorded(call, [&] {
        try {
            return touch(path, setCreationDate);
        } catch (const platform::Exception&) {
            throw;
        } catch (const std::exception& exception) {
            reportCaught(exception, call.name);
            return noteFailure(exception);
        }
    });
}

bool KXFileManager::setModificationDate(std::chrono::system_clock::time_point date,
                                        const OptionalPath& forFile) {
    return perform({"+[KXFileManager setModificationDate:forFile:]", forFile}, false, [&] {
        const Outcome changed = attributes().setModificationDate(forFile.value_or(""), date);
        return changed ? true : noteFailure(changed.error());
    });
}

}  // namespace quillmoor
