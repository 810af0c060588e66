#import "objc/KXAuthorization.h"

#include "tests/objc/files_world.h"

using namespace quillmoor::test;
using quillmoor::StringList;
using Session = quillmoor::KXAuthorization;

namespace {

// No session is made before the test makes one.
struct AuthWorld : AuthTest {
    using AuthTest::authorization_;
    using AuthTest::becomeRoot;
    using AuthTest::console_;
    using AuthTest::folder_;
    using AuthTest::locations_;
    using AuthTest::tasks_;

  private:
    void TestBody() override {}
};

KXAuthorization* session() {
    return [KXAuthorization sharedController];
}

AuthorizationRef reference(std::uintptr_t number) {
    return reinterpret_cast<AuthorizationRef>(number);
}

}  // namespace

TEST(KXAuthorization, sharedController) {
    AuthWorld world;
    EXPECT_NE(session(), nil);
    EXPECT_EQ(session(), session());
    EXPECT_TRUE([session() hasGUI]);
    EXPECT_EQ([KXAuthorization alloc], nil);
}
TEST(KXAuthorization, sharedController_) {
    AuthWorld world;
    KXAuthorization* const made = [KXAuthorization sharedController:NO];
    EXPECT_FALSE([made hasGUI]);
    EXPECT_EQ([KXAuthorization sharedController:YES], made);
    EXPECT_FALSE([session() hasGUI]);
}
TEST(KXAuthorization, allocWithZone_) {
    AuthWorld world;
    KXAuthorization* const made = [KXAuthorization allocWithZone:nullptr];
    EXPECT_NE(made, nil);
    EXPECT_EQ([KXAuthorization allocWithZone:nullptr], nil);
    EXPECT_EQ([[KXAuthorization alloc] init], nil);
    EXPECT_EQ(session(), made);
    EXPECT_EQ(world.authorization_.calls, StringList());
}

TEST(KXAuthorizationObject, init) {
    AuthWorld world;
    world.authorization_.handedOver = FakeAuthorization::reference(7);
    KXAuthorization* made = [[KXAuthorization alloc] init];
    EXPECT_EQ(made, session());
    EXPECT_TRUE([made hasGUI]);
    EXPECT_EQ([made authRef], reference(7));
    EXPECT_EQ(world.authorization_.calls, StringList{"privileged 0"});
}
TEST(KXAuthorizationObject, initWithoutGUI) {
    AuthWorld world;
    KXAuthorization* made = [[KXAuthorization alloc] initWithoutGUI];
    EXPECT_EQ(made, session());
    EXPECT_FALSE([made hasGUI]);
    EXPECT_EQ(world.authorization_.calls, StringList{"privileged 0"});
}

TEST(KXAuthorizationObject, copyWithZone_) {
    AuthWorld world;
    EXPECT_EQ([session() copyWithZone:nullptr], session());
}
TEST(KXAuthorizationObject, retain) {
    AuthWorld world;
    EXPECT_EQ([session() retain], session());
}
TEST(KXAuthorizationObject, retainCount) {
    AuthWorld world;
    EXPECT_EQ([session() retainCount], 4294967295UL);
}
TEST(KXAuthorizationObject, release) {
    AuthWorld world;
    for (int i = 0; i < 3; ++i) [session() release];
    EXPECT_TRUE([session() hasGUI]);
}
TEST(KXAuthorizationObject, autorelease) {
    AuthWorld world;
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    EXPECT_EQ([session() autorelease], session());
    [pool drain];
    EXPECT_TRUE([session() hasGUI]);
}
TEST(KXAuthorizationObject, dealloc) {
    AuthWorld world;
    [session() setAuthRef:reference(7)];
    [session() dealloc];
    EXPECT_EQ(world.authorization_.calls.back(), "free 7 0");
}
TEST(KXAuthorizationObject, finalize) {
    AuthWorld world;
    [session() setAuthRef:reference(7)];
    [session() finalize];
    EXPECT_EQ(world.authorization_.calls.back(), "free 7 0");
    EXPECT_EQ([session() authRef], nullptr);
}

TEST(KXAuthorizationObject, authStart) {
    AuthWorld world;
    EXPECT_TRUE([session() authStart]);
    EXPECT_EQ([session() authRef], reference(1));
    EXPECT_EQ(world.authorization_.calls.back(), "rights 1 [system.privilege.admin=nil/0] nil 19");
    [session() authEnd];
    world.authorization_.rightsStatus = quillmoor::platform::kAuthorizationCanceled;
    EXPECT_FALSE([session() authStart]);
    EXPECT_EQ([session() authRef], nullptr);
}
TEST(KXAuthorizationObject, authStartWithUser_password_) {
    AuthWorld world;
    EXPECT_TRUE([session() authStartWithUser:@"al\u00EFce" password:@""]);
    EXPECT_EQ(world.authorization_.calls.back(), "rights 1 [system.privilege.admin=nil/0] "
                                                 "[username='al\xC3\xAF"
                                                 "ce'/0 password=''/0] 18");
    EXPECT_FALSE([session() authStartWithUser:nil password:@"secret"]);
    EXPECT_FALSE([session() authStartWithUser:@"alice" password:nil]);
    EXPECT_EQ(world.console_.logged, StringList());
    world.authorization_.rightsStatus = quillmoor::platform::kAuthorizationDenied;
    EXPECT_FALSE([session() authStartWithUser:@"alice" password:@"wrong"]);
    EXPECT_EQ(world.console_.logged,
              StringList{"Authorization failed. Invalid username or password"});
}
TEST(KXAuthorizationObject, authEnd) {
    AuthWorld world;
    [session() setAuthRef:reference(7)];
    [session() authEnd];
    EXPECT_EQ(world.authorization_.calls.back(), "free 7 0");
    EXPECT_EQ([session() authRef], nullptr);
}
TEST(KXAuthorizationObject, authRef) {
    AuthWorld world;
    EXPECT_EQ([session() authRef], nullptr);
    Session::sharedController()->setAuthRef(FakeAuthorization::reference(5));
    EXPECT_EQ([session() authRef], reference(5));
}
TEST(KXAuthorizationObject, setAuthRef_) {
    AuthWorld world;
    [session() setAuthRef:reference(6)];
    EXPECT_EQ(Session::sharedController()->authRef(), FakeAuthorization::reference(6));
    [session() setAuthRef:nullptr];
    EXPECT_EQ(Session::sharedController()->authRef(), nullptr);
    EXPECT_EQ(world.authorization_.calls, StringList{"privileged 0"});
}
TEST(KXAuthorizationObject, isAuthorized) {
    AuthWorld world;
    EXPECT_FALSE([session() isAuthorized]);
    [session() setAuthRef:reference(6)];
    EXPECT_TRUE([session() isAuthorized]);
}
TEST(KXAuthorizationObject, canAuthorize) {
    AuthWorld world;
    EXPECT_TRUE([session() canAuthorize]);
    [session() setHasGUI:NO];
    EXPECT_FALSE([session() canAuthorize]);
    world.becomeRoot();
    EXPECT_TRUE([session() canAuthorize]);
}
TEST(KXAuthorizationObject, hasGUI) {
    AuthWorld world;
    EXPECT_TRUE([session() hasGUI]);
    Session::sharedController()->setHasGUI(false);
    EXPECT_FALSE([session() hasGUI]);
}
TEST(KXAuthorizationObject, setHasGUI_) {
    AuthWorld world;
    [session() setHasGUI:NO];
    EXPECT_FALSE(Session::sharedController()->hasGUI());
    EXPECT_FALSE([session() authStart]);
    EXPECT_EQ(world.console_.logged, StringList{"Unable to authorize"});
}

TEST(KXAuthorizationObject, authRemoveFile_) {
    FilesWorld world;
    EXPECT_TRUE([session() authRemoveFile:@"/a b"]);
    EXPECT_EQ(world.started(), StringList{"/bin/rm -Rdf '/a b'"});
    EXPECT_FALSE([session() authRemoveFile:@"/Library"]);
    EXPECT_EQ(world.console_.logged.back(),
              "Unable to delete path /Library because it is a system directory.");
    EXPECT_EQ([session() authRemoveFile:nil],
              Session::sharedController() -> authRemoveFile(std::nullopt));
}
TEST(KXAuthorizationObject, authTrashFile_) {
    FilesWorld world;
    EXPECT_TRUE([session() authTrashFile:world.file("a")]);
    EXPECT_EQ(world.started(),
              StringList{"/bin/mv -f " + world.at("a") + " " + world.trash() + "/a"});
    EXPECT_FALSE([session() authTrashFile:nil]);
}
TEST(KXAuthorizationObject, authTrashFile_deleteOnRootAccount_) {
    AuthWorld world;
    world.becomeRoot();
    NSString* path = string(world.folder_.writeFile("a"));
    EXPECT_TRUE([session() authTrashFile:path deleteOnRootAccount:YES]);
    EXPECT_TRUE(world.tasks_.launched.back().starts_with("/bin/rm -Rdf "));
    EXPECT_TRUE([session() authTrashFile:path deleteOnRootAccount:NO]);
    EXPECT_TRUE(world.tasks_.launched.back().starts_with("/bin/mv -f "));
    EXPECT_EQ([session() authTrashFile:nil deleteOnRootAccount:NO],
              Session::sharedController() -> authTrashFile(std::nullopt));
}
TEST(KXAuthorizationObject, authTrashFolderContents_) {
    FilesWorld world;
    world.file("a/b");
    EXPECT_TRUE([session() authTrashFolderContents:world.path("a")]);
    EXPECT_EQ(world.started(),
              StringList{"/bin/mv -f " + world.at("a/b") + " " + world.trash() + "/b"});
    EXPECT_TRUE([session() authTrashFolderContents:nil]);
}
TEST(KXAuthorizationObject, authTrashFolderContents_deleteOnRootAccount_) {
    AuthWorld world;
    world.becomeRoot();
    const std::string file = world.folder_.writeFile("a/b");
    NSString* folder = string(world.folder_ / "a");
    EXPECT_TRUE([session() authTrashFolderContents:folder deleteOnRootAccount:YES]);
    EXPECT_EQ(world.tasks_.launched.back(), "/bin/rm -R -f " + file);
    EXPECT_TRUE([session() authTrashFolderContents:folder deleteOnRootAccount:NO]);
    EXPECT_TRUE(world.tasks_.launched.back().starts_with("/bin/mv -f "));
    EXPECT_TRUE([session() authTrashFolderContents:nil deleteOnRootAccount:YES]);
}
TEST(KXAuthorizationObject, authMoveFolderContents_toPath_) {
    FilesWorld world;
    world.file("a/b");
    EXPECT_TRUE([session() authMoveFolderContents:world.path("a") toPath:@"/c"]);
    EXPECT_EQ(world.started(), StringList{"/bin/mv -f " + world.at("a/b") + " /c/b"});
    EXPECT_TRUE([session() authMoveFolderContents:nil toPath:nil]);
}
TEST(KXAuthorizationObject, authMoveFile_toPath_) {
    FilesWorld world;
    EXPECT_TRUE([session() authMoveFile:world.file("a") toPath:@"/c"]);
    EXPECT_EQ(world.started(), StringList{"/bin/mv -f " + world.at("a") + " /c"});
    EXPECT_FALSE([session() authMoveFile:nil toPath:@"/c"]);
    EXPECT_FALSE([session() authMoveFile:world.path("a") toPath:nil]);
    EXPECT_EQ(world.console_.logged, (StringList{"Error in authMoveFile: old path is null",
                                                 "Error in authMoveFile: new path is null"}));
}
TEST(KXAuthorizationObject, authCopyFile_toPath_) {
    FilesWorld world;
    EXPECT_TRUE([session() authCopyFile:world.file("a") toPath:@"/c"]);
    EXPECT_EQ(world.started(), StringList{"/bin/cp -f -p -R " + world.at("a") + " /c"});
    EXPECT_FALSE([session() authCopyFile:nil toPath:@"/c"]);
    EXPECT_FALSE([session() authCopyFile:world.path("a") toPath:nil]);
    EXPECT_EQ(world.console_.logged, (StringList{"Error in authCopyFile: old path is null",
                                                 "Error in authCopyFile: new path is null"}));
}
TEST(KXAuthorizationObject, authCreateDir_) {
    FilesWorld world;
    EXPECT_TRUE([session() authCreateDir:@"/c"]);
    EXPECT_TRUE([session() authCreateDir:nil]);
    EXPECT_EQ(world.started(), (StringList{"/bin/mkdir -p /c", "/bin/mkdir -p"}));
}

TEST(KXAuthorizationObject, authExecTask_parameters_) {
    FilesWorld world;
    NSArray* parameters = [NSArray arrayWithObjects:@"-c", @"", nil];
    EXPECT_EQ([session() authExecTask:@"/bin/sh" parameters:parameters], 0);
    EXPECT_EQ([session() authExecTask:@"/bin/sh" parameters:nil], 0);
    EXPECT_EQ(world.started(), (StringList{"/bin/sh -c ''", "/bin/sh"}));
    EXPECT_EQ(world.authorization_.streams.front()->reads, 0);
    EXPECT_EQ([session() authExecTask:@"/nowhere" parameters:nil], -2);
    EXPECT_EQ([session() authExecTask:nil parameters:nil], -2);
}
TEST(KXAuthorizationObject, authExecTask_parameters_async_) {
    FilesWorld world;
    world.authorization_.output = "abc";
    EXPECT_EQ([session() authExecTask:@"/bin/sh" parameters:nil async:NO], 0);
    EXPECT_EQ(world.authorization_.streams.front()->reads, 4);
    EXPECT_EQ([session() authExecTask:@"/bin/sh" parameters:nil async:YES], 0);
    EXPECT_EQ(world.authorization_.streams.back()->reads, 0);
    [session() authEnd];
    world.authorization_.rightsStatus = quillmoor::platform::kAuthorizationCanceled;
    EXPECT_EQ([session() authExecTask:@"/bin/sh" parameters:nil async:NO], -1);
    EXPECT_EQ([session() authExecTask:nil parameters:nil async:NO], -2);
}

TEST(ObjcAuthorization, StartsNothingWithParametersThatAreNotText) {
    FilesWorld world;
    NSArray* parameters = [NSArray arrayWithObjects:@"-Rdf", [NSNumber numberWithInt:1], nil];
    EXPECT_EQ(nameOfRaised([&] { [session() authExecTask:@"/bin/rm" parameters:parameters]; }),
              "NSInvalidArgumentException");
    EXPECT_EQ(world.started(), StringList());
}
