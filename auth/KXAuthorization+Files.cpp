#include <chrono>

#include "quillmoor/auth/KXAuthorization.h"
#include "quillmoor/auth/operation_support.h"
#include "quillmoor/base/arguments.h"
#include "quillmoor/base/format.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor {
namespace {

// Usually enough for the tool to create the folder. Nothing waits for its end, but callers use the
// folder next.
constexpr std::chrono::microseconds kPauseAfterCreating{500};

void reportOnConsole(const std::string& text) {
    platform::current().console->log(text);
}

}  // namespace

bool KXAuthorization::authRemoveFile(const OptionalPath& path) {
    return recorded({"-[KXAuthorization authRemoveFile:]", path}, [&] {
        if (isProtected(path)) {
            reportOnConsole(
                formatted("Unable to delete path %@ because it is a system directory.", path));
            return noteProtected();
        }
        return authExecTask("/bin/rm", upToFirstNil({"-Rdf", path})) == 0;
    });
}

bool KXAuthorization::authMoveFolderContents(const OptionalPath& folder,
                                             const OptionalPath& toPath) {
    return recorded({"-[KXAuthorization authMoveFolderContents:toPath:]", folder, toPath}, [&] {
        if (isProtected(folder)) {
            reportOnConsole(formatted(
                "Unable to move contents of path %@ because it is a system directory.", folder));
            return noteProtected();
        }
        bool allMoved = true;
        for (const std::string& name : folderEntries(folder))
            // authMoveFile on the left of &&: every entry is tried after a failure, too.
            allMoved = notePartDone(authMoveFile(appendPathComponent(folder, name),
                                                 appendPathComponent(toPath, name))) &&
                       allMoved;
        return allMoved;
    });
}

// Only the source is protected: items may be moved into system folders.
bool KXAuthorization::authMoveFile(const OptionalPath& path, const OptionalPath& toPath) {
    return recorded({"-[KXAuthorization authMoveFile:toPath:]", path, toPath}, [&] {
        if (!path) {
            reportOnConsole("Error in authMoveFile: old path is null");
            return noteFailure(KXFailure::Reason::MissingArgument);
        }
        if (!toPath) {
            reportOnConsole("Error in authMoveFile: new path is null");
            return noteFailure(KXFailure::Reason::MissingArgument);
        }
        if (isProtected(path)) {
            reportOnConsole(
                formatted("Unable to move path %@ because it is a system directory.", path));
            return noteProtected();
        }
        if (!somethingAt(path)) return noteFailure(KXFailure::Reason::MissingItem);
        return startTool("/bin/mv", {"-f", *path, *toPath});
    });
}

// System folders are not refused: a copy leaves its source unchanged.
bool KXAuthorization::authCopyFile(const OptionalPath& path, const OptionalPath& toPath) {
    return recorded({"-[KXAuthorization authCopyFile:toPath:]", path, toPath}, [&] {
        if (!path) {
            reportOnConsole("Error in authCopyFile: old path is null");
            return noteFailure(KXFailure::Reason::MissingArgument);
        }
        if (!toPath) {
            reportOnConsole("Error in authCopyFile: new path is null");
            return noteFailure(KXFailure::Reason::MissingArgument);
        }
        if (!somethingAt(path)) return noteFailure(KXFailure::Reason::MissingItem);
        return startTool("/bin/cp", {"-f", "-p", "-R", *path, *toPath});
    });
}

bool KXAuthorization::authCreateDir(const OptionalPath& path) {
    return recorded({"-[KXAuthorization authCreateDir:]", path}, [&] {
        const bool asked = !isRoot();
        if (!startTool("/bin/mkdir", upToFirstNil({"-p", path}))) return false;
        if (asked) platform::current().clock->sleep(kPauseAfterCreating);
        return true;
    });
}

// A process of root needs no session: it runs the tool itself, and that counts as started whatever
// the task runner reports.
bool KXAuthorization::startTool(const std::string& tool, const StringList& arguments) {
    if (!isRoot()) return authExecTask(tool, arguments) == 0;
    KXTaskEx::runTaskAndReturn(tool, arguments);
    noteAuthorization(KXFailure::Authorization::Granted);
    return true;
}

}  // namespace quillmoor
