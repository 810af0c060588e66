#import "objc/KXAuthorization.h"

#include <mutex>

#include "objc/bridge.h"
#include "objc/secret.h"
#include "quillmoor/auth/KXAuthorization.h"

using namespace quillmoor::objc;
using Session = quillmoor::KXAuthorization;
using quillmoor::Async;
using quillmoor::DeleteOnRootAccount;
using quillmoor::StringList;
using quillmoor::WithGUI;

namespace {

KXAuthorization* sharedObject = nil;

std::mutex& classLock() {
    static auto* const lock = new std::mutex;
    return *lock;
}

StringList parametersFrom(NSArray* list) {
    return toArguments(list).value_or(StringList());
}

}  // namespace

@implementation KXAuthorization

// The one object for the library's session; nil for null.
static KXAuthorization* objectFor(Session* session) {
    if (session == nullptr) return nil;
    const std::lock_guard guard(classLock());
    if (sharedObject == nil) {
        sharedObject =
            static_cast<KXAuthorization*>(NSAllocateObject([KXAuthorization class], 0, nullptr));
        sharedObject->_session = session;
    }
    return sharedObject;
}

static Session& sessionOf(KXAuthorization* object) {
    return *static_cast<Session*>(object->_session);
}

+ (KXAuthorization*)sharedController {
    return raising([] { return objectFor(Session::sharedController()); });
}

+ (KXAuthorization*)sharedController:(BOOL)withGUI {
    return raising([&] { return objectFor(Session::sharedController(flag<WithGUI>(withGUI))); });
}

+ (instancetype)allocWithZone:(NSZone*)zone {
    return raising([] { return objectFor(Session::allocWithZone()); });
}

- (instancetype)init {
    self = [super init];
    return raising([&] { return sessionOf(self).init() != nullptr ? self : nil; });
}

- (instancetype)initWithoutGUI {
    self = [super init];
    return raising([&] { return sessionOf(self).initWithoutGUI() != nullptr ? self : nil; });
}

- (id)copyWithZone:(NSZone*)zone {
    return self;
}

- (instancetype)retain {
    return self;
}

- (NSUInteger)retainCount {
    return sessionOf(self).retainCount();
}

- (oneway void)release {
}

- (instancetype)autorelease {
    return self;
}

- (void)dealloc {
    perform(__func__, [&] { sessionOf(self).dealloc(); });
    {
        const std::lock_guard guard(classLock());
        if (sharedObject == self) sharedObject = nil;
    }
    [super dealloc];
}

// Without [super finalize], which is obsolete and does nothing.
- (void)finalize {
    perform(__func__, [&] { sessionOf(self).finalize(); });
}

- (BOOL)authStart {
    return raising([&] { return sessionOf(self).authStart(); });
}

- (BOOL)authStartWithUser:(NSString*)user password:(NSString*)password {
    return raising([&] {
        const Secret secret(password);
        return sessionOf(self).authStartWithUser(toString(user), secret.text());
    });
}

- (void)authEnd {
    raising([&] { sessionOf(self).authEnd(); });
}

- (AuthorizationRef)authRef {
    return reinterpret_cast<AuthorizationRef>(sessionOf(self).authRef());
}

- (void)setAuthRef:(AuthorizationRef)reference {
    using Reference = quillmoor::platform::AuthorizationRef;
    sessionOf(self).setAuthRef((Reference)reference);
}

- (BOOL)isAuthorized {
    return raising([&] { return sessionOf(self).isAuthorized(); });
}

- (BOOL)canAuthorize {
    return raising([&] { return sessionOf(self).canAuthorize(); });
}

- (BOOL)hasGUI {
    return sessionOf(self).hasGUI();
}

- (void)setHasGUI:(BOOL)hasGUI {
    sessionOf(self).setHasGUI(hasGUI);
}

- (BOOL)authRemoveFile:(NSString*)path {
    return raising([&] { return sessionOf(self).authRemoveFile(toString(path)); });
}

- (BOOL)authTrashFile:(NSString*)path {
    return raising([&] { return sessionOf(self).authTrashFile(toString(path)); });
}

- (BOOL)authTrashFile:(NSString*)path deleteOnRootAccount:(BOOL)deleteOnRootAccount {
    return raising([&] {
        return sessionOf(self).authTrashFile(toString(path),
                                             flag<DeleteOnRootAccount>(deleteOnRootAccount));
    });
}

- (BOOL)authTrashFolderContents:(NSString*)folder {
    return raising([&] { return sessionOf(self).authTrashFolderContents(toString(folder)); });
}

- (BOOL)authTrashFolderContents:(NSString*)folder deleteOnRootAccount:(BOOL)deleteOnRootAccount {
    return raising([&] {
        return sessionOf(self).authTrashFolderContents(
            toString(folder), flag<DeleteOnRootAccount>(deleteOnRootAccount));
    });
}

- (BOOL)authMoveFolderContents:(NSString*)folder toPath:(NSString*)toPath {
    return raising(
        [&] { return sessionOf(self).authMoveFolderContents(toString(folder), toString(toPath)); });
}

- (BOOL)authMoveFile:(NSString*)path toPath:(NSString*)toPath {
    return raising([&] { return sessionOf(self).authMoveFile(toString(path), toString(toPath)); });
}

- (BOOL)authCopyFile:(NSString*)path toPath:(NSString*)toPath {
    return raising([&] { return sessionOf(self).authCopyFile(toString(path), toString(toPath)); });
}

- (BOOL)authCreateDir:(NSString*)path {
    return raising([&] { return sessionOf(self).authCreateDir(toString(path)); });
}

- (OSStatus)authExecTask:(NSString*)path parameters:(NSArray*)parameters {
    return raising(
        [&] { return sessionOf(self).authExecTask(toString(path), parametersFrom(parameters)); });
}

- (OSStatus)authExecTask:(NSString*)path parameters:(NSArray*)parameters async:(BOOL)async {
    return raising([&] {
        return sessionOf(self).authExecTask(toString(path), parametersFrom(parameters),
                                            flag<Async>(async));
    });
}

@end
