#include "tests/failures/failure_scenarios.h"

namespace quillmoor::test {
namespace {

using Reason = KXFailure::Reason;
using Authorization = KXFailure::Authorization;
using Call = std::function<void(RefusingWorld&, KXAuthorization&)>;

FailureScenario failing(const std::string& operation, const Call& call, Reason reason,
                        std::function<OptionalPath(RefusingWorld&)> path,
                        Authorization authorization) {
    return {"KXAuthorization " + operation,
            [call](RefusingWorld& world) { call(world, *KXAuthorization::sharedController()); },
            reason, std::move(path), authorization};
}

// The user dismisses the dialog.
FailureScenario canceled(const std::string& operation, const Call& call,
                         std::function<OptionalPath(RefusingWorld&)> path = theFile) {
    return failing(operation, call, Reason::NotAuthorized, std::move(path),
                   Authorization::Canceled);
}

FailureScenario protectedFolder(const std::string& operation, const Call& call) {
    return failing(
        operation, call, Reason::ProtectedFolder, [](auto&) { return OptionalPath("/Library"); },
        Authorization::Protected);
}

OptionalPath theFolder(RefusingWorld& world) {
    return world.folder;
}

}  // namespace

std::vector<FailureScenario> authorizationFailures() {
    return {
        canceled(
            "authStart", [](auto&, auto& session) { session.authStart(); }, noPath),
        canceled(
            "authStartWithUser:password:",
            [](auto&, auto& session) { session.authStartWithUser("alice", "wrong"); }, noPath),
        canceled("authRemoveFile:",
                 [](auto& world, auto& session) { session.authRemoveFile(world.file); }),
        canceled("authTrashFile:",
                 [](auto& world, auto& session) { session.authTrashFile(world.file); }),
        protectedFolder("authTrashFile:deleteOnRootAccount:",
                        [](auto&, auto& session) {
                            session.authTrashFile("/Library", DeleteOnRootAccount::No);
                        }),
        // Missing rights concern the folder that was named, and not one of its entries.
        canceled(
            "authTrashFolderContents:",
            [](auto& world, auto& session) { session.authTrashFolderContents(world.folder); },
            theFolder),
        protectedFolder("authTrashFolderContents:deleteOnRootAccount:",
                        [](auto&, auto& session) {
                            session.authTrashFolderContents("/Library", DeleteOnRootAccount::No);
                        }),
        canceled(
            "authMoveFolderContents:toPath:",
            [](auto& world, auto& session) {
                session.authMoveFolderContents(world.folder, world.path("new"));
            },
            theFolder),
        canceled("authMoveFile:toPath:",
                 [](auto& world, auto& session) {
                     session.authMoveFile(world.file, world.path("new"));
                 }),
        failing(
            "authCopyFile:toPath:",
            [](auto& world, auto& session) {
                session.authCopyFile(world.missing, world.path("new"));
            },
            Reason::MissingItem, theMissing, Authorization::NotTried),
        canceled(
            "authCreateDir:",
            [](auto& world, auto& session) { session.authCreateDir(world.missing); }, theMissing),
        failing(
            "authExecTask:parameters:",
            [](auto& world, auto& session) { session.authExecTask(world.missing, {}); },
            Reason::MissingItem, theMissing, Authorization::Failed),
        canceled(
            "authExecTask:parameters:async:",
            [](auto&, auto& session) { session.authExecTask("/bin/ls", {}, Async::No); },
            [](auto&) { return OptionalPath("/bin/ls"); }),
    };
}

}  // namespace quillmoor::test
