#include "quillmoor/auth/KXAuthorization.h"

#include <mutex>

#include "quillmoor/auth/operation_support.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

// The lock of the class. Never destroyed, like the session. Recursive: sharedController holds it
// while allocWithZone takes it.
std::recursive_mutex& classLock() {
    static auto& lock = *new std::recursive_mutex;
    return lock;
}

KXAuthorization* sharedAuth = nullptr;

}  // namespace

KXAuthorization* KXAuthorization::sharedController() {
    return sharedController(WithGUI::Yes);
}

KXAuthorization* KXAuthorization::sharedController(WithGUI withGUI) {
    const std::lock_guard guard(classLock());
    if (sharedAuth == nullptr) {
        // Set up under the lock: no other thread may get a session that is not ready.
        KXAuthorization* session = allocWithZone();
        withGUI == WithGUI::Yes ? session->init() : session->initWithoutGUI();
    }
    return sharedAuth;
}

KXAuthorization* KXAuthorization::allocWithZone() {
    const std::lock_guard guard(classLock());
    if (sharedAuth != nullptr) return nullptr;
    sharedAuth = new KXAuthorization;
    return sharedAuth;
}

KXAuthorization* KXAuthorization::init() {
    return initWithGUI(true);
}

KXAuthorization* KXAuthorization::initWithoutGUI() {
    return initWithGUI(false);
}

KXAuthorization* KXAuthorization::initWithGUI(bool hasGUI) {
    const platform::Platform& system = platform::current();
    setHasGUI(hasGUI);
    setAuthRef(nullptr);
    platform::AuthorizationRef handedOver = nullptr;
    const platform::AuthorizationStatus status = system.authorization->copyPrivilegedReference(
        platform::kAuthorizationFlagDefaults, handedOver);
    if (status == platform::kAuthorizationSuccess && handedOver != nullptr) setAuthRef(handedOver);
    // Of the user who started this, whose Trash is used also with administrator rights.
    if (!isRoot()) userDirectory_ = KXLocalPaths::userDirectory();
    return this;
}

void KXAuthorization::dealloc() {
    authEnd();
}

void KXAuthorization::finalize() {
    authEnd();
}

}  // namespace quillmoor
