#include <gtest/gtest.h>

#include "tests/auth/auth_fixture.h"
#include "tests/faults/fault_loop.h"
#include "tests/faults/kept_log.h"

namespace quillmoor::test {
namespace {

class AuthorizationWorld : public AuthTest {
  public:
    AuthorizationWorld() { session = &authorized(); }
    void TestBody() override {}

    KXAuthorization* session = nullptr;
    KeptLog log;
    std::string item = folder_.writeFile("folder/item", "text");
    std::string inside = folder_.path() + "/folder";
    std::string target = folder_.makeFolder("target");
    std::size_t started() const { return authorization_.started().size(); }
};

using Operation = std::function<bool(AuthorizationWorld&)>;

// What true means besides "a tool was started": nothing, or "no tool was needed", as for a folder
// that cannot be listed.
enum class OrNothing : bool { No, Yes };

FaultScenario starts(std::string name, const std::string& operation, Operation run,
                     OrNothing orNothing = OrNothing::No) {
    return {std::move(name),
            {"KXAuthorization " + operation},
            [=](FaultRun& faults) {
                AuthorizationWorld world;
                bool succeeded = false;
                faults.inject([&] { succeeded = run(world); });
                EXPECT_TRUE(succeeded || faults.faulted());
                if (succeeded && !(orNothing == OrNothing::Yes && faults.faulted())) {
                    EXPECT_EQ(world.started(), 1U);
                }
            },
            Throws::AndMemory};
}

std::vector<FaultScenario> sessionScenarios() {
    return {
        {"AuthorizationSession",
         {"KXAuthorization sharedController", "KXAuthorization sharedController:",
          "KXAuthorization allocWithZone", "KXAuthorization init", "KXAuthorization initWithoutGUI",
          "KXAuthorization dealloc", "KXAuthorization finalize", "KXAuthorization authStart",
          "KXAuthorization authStartWithUser:password:", "KXAuthorization authEnd",
          "KXAuthorization authRef", "KXAuthorization setAuthRef:", "KXAuthorization isAuthorized",
          "KXAuthorization canAuthorize", "KXAuthorization hasGUI", "KXAuthorization setHasGUI:",
          "KXAuthorization userDirectory", "KXAuthorization setUserDirectory:"},
         [](FaultRun& run) {
             AuthorizationWorld world;
             bool started = false;
             run.inject([&] {
                 KXAuthorization* const session = KXAuthorization::sharedController();
                 KXAuthorization::sharedController(WithGUI::Yes);
                 KXAuthorization::allocWithZone();
                 session->init();
                 session->initWithoutGUI();
                 session->setHasGUI(true);
                 session->setUserDirectory(session->userDirectory());
                 started = session->authStart() && session->isAuthorized() &&
                           session->canAuthorize() && session->hasGUI();
                 session->authStartWithUser(given("user"), given("a password"));
                 session->setAuthRef(session->authRef());
                 session->authEnd();
                 session->dealloc();
                 session->finalize();
             });
             EXPECT_TRUE(started || run.faulted());
             EXPECT_EQ(world.session->authRef(), nullptr);
         },
         Throws::AndMemory},
    };
}

std::vector<FaultScenario> toolScenarios() {
    return {
        starts("AuthRemoveFile", "authRemoveFile:",
               [](AuthorizationWorld& world) {
                   return world.session->authRemoveFile(given(world.item));
               }),
        starts("AuthTrashFile", "authTrashFile:",
               [](AuthorizationWorld& world) {
                   return world.session->authTrashFile(given(world.item));
               }),
        starts("AuthTrashFileOnRootAccount", "authTrashFile:deleteOnRootAccount:",
               [](AuthorizationWorld& world) {
                   return world.session->authTrashFile(given(world.item), DeleteOnRootAccount::Yes);
               }),
        starts(
            "AuthTrashFolderContents", "authTrashFolderContents:",
            [](AuthorizationWorld& world) {
                return world.session->authTrashFolderContents(given(world.inside));
            },
            OrNothing::Yes),
        starts(
            "AuthTrashFolderContentsOnRootAccount", "authTrashFolderContents:deleteOnRootAccount:",
            [](AuthorizationWorld& world) {
                return world.session->authTrashFolderContents(given(world.inside),
                                                              DeleteOnRootAccount::Yes);
            },
            OrNothing::Yes),
        starts(
            "AuthMoveFolderContents", "authMoveFolderContents:toPath:",
            [](AuthorizationWorld& world) {
                return world.session->authMoveFolderContents(given(world.inside),
                                                             given(world.target));
            },
            OrNothing::Yes),
        starts("AuthMoveFile", "authMoveFile:toPath:",
               [](AuthorizationWorld& world) {
                   return world.session->authMoveFile(given(world.item), given(world.target));
               }),
        starts("AuthCopyFile", "authCopyFile:toPath:",
               [](AuthorizationWorld& world) {
                   return world.session->authCopyFile(given(world.item), given(world.target));
               }),
        starts("AuthCreateDir", "authCreateDir:",
               [](AuthorizationWorld& world) {
                   return world.session->authCreateDir(given(world.target + "/new"));
               }),
        starts("AuthExecTask", "authExecTask:parameters:",
               [](AuthorizationWorld& world) {
                   return world.session->authExecTask(given("/bin/true"), {"a"}) == 0;
               }),
        starts("AuthExecTaskAndWait", "authExecTask:parameters:async:",
               [](AuthorizationWorld& world) {
                   return world.session->authExecTask(given("/bin/true"), {"a"}, Async::No) == 0;
               }),
    };
}

}  // namespace

std::vector<FaultScenario> authorizationScenarios() {
    std::vector<FaultScenario> all;
    for (const auto& part : {sessionScenarios, toolScenarios})
        for (FaultScenario& scenario : part()) all.push_back(std::move(scenario));
    return all;
}

}  // namespace quillmoor::test
