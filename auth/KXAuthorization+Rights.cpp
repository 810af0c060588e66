#include "quillmoor/auth/KXAuthorization.h"
#include "quillmoor/auth/authorization_request.h"
#include "quillmoor/auth/operation_support.h"
#include "quillmoor/base/format.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

using platform::AuthorizationItem;
using platform::AuthorizationItemSet;
using platform::AuthorizationStatus;
using platform::kAuthorizationFlagDefaults;

constexpr char kRefused[] = "Authorization failed. Invalid username or password";

platform::Authorization& authorization() {
    return *platform::current().authorization;
}

// What every tool needs; the only right that the library requests.
const AuthorizationItemSet& administratorRights() {
    static const AuthorizationItemSet rights{
        {AuthorizationItem{platform::kAuthorizationRightAdmin, std::nullopt, 0}}};
    return rights;
}

}  // namespace

bool KXAuthorization::isAuthorized() const {
    return isRoot() || authRef_ != nullptr;
}

bool KXAuthorization::canAuthorize() const {
    return hasGUI_ || isRoot();
}

bool KXAuthorization::authStart() {
    return recorded("-[KXAuthorization authStart]", [&] {
        if (isAuthorized()) return true;
        if (!hasGUI_) {
            platform::current().console->log("Unable to authorize");
            noteAuthorization(KXFailure::Authorization::Unavailable);
            return noteFailure(KXFailure::Reason::NotAuthorized);
        }
        const AuthorizationStatus status = authorization().create(
            std::nullopt, std::nullopt, kAuthorizationFlagDefaults, authRef_);
        if (!noteRequest(status)) {
            setAuthRef(nullptr);
            return false;
        }
        return askForRights(std::nullopt, platform::kAuthorizationFlagInteractionAllowed |
                                              platform::kAuthorizationFlagExtendRights |
                                              platform::kAuthorizationFlagPreAuthorize);
    });
}

bool KXAuthorization::authStartWithUser(const OptionalString& user,
                                        const OptionalString& password) {
    return recorded("-[KXAuthorization authStartWithUser:password:]", [&] {
        if (isRoot()) return true;
        if (!user || !password) return noteFailure(KXFailure::Reason::MissingArgument);
        // Not isAuthorized: credentials that are given are always checked. Kept for compatibility.
        const AuthorizationItemSet environment{
            {AuthorizationItem{platform::kAuthorizationEnvironmentUsername, *user, 0},
             AuthorizationItem{platform::kAuthorizationEnvironmentPassword, *password, 0}}};
        platform::Console& console = *platform::current().console;
        const AuthorizationStatus status =
            authorization().create(std::nullopt, environment, kAuthorizationFlagDefaults, authRef_);
        if (!noteRequest(status)) {
            console.log(formatted("Unable to create authRef - error %ld", long{status}));
            setAuthRef(nullptr);
            return false;
        }
        if (askForRights(environment, platform::kAuthorizationFlagExtendRights |
                                          platform::kAuthorizationFlagPreAuthorize))
            return true;
        console.log(kRefused);
        KXLog::appendLog(kRefused);
        return false;
    });
}

// A reference without the rights is freed and cleared: isAuthorized tests for it.
bool KXAuthorization::askForRights(const AuthorizationItemSet& environment,
                                   platform::AuthorizationFlags flags) {
    if (noteRequest(
            authorization().copyRights(authRef_, administratorRights(), environment, flags)))
        return true;
    freeReference();
    return false;
}

// A reference that root was passed by its parent is dropped without being freed. Kept for
// compatibility.
void KXAuthorization::authEnd() {
    if (isAuthorized() && !isRoot()) freeReference();
    setAuthRef(nullptr);
}

void KXAuthorization::freeReference() {
    authorization().free(authRef_, kAuthorizationFlagDefaults);
    setAuthRef(nullptr);
}

}  // namespace quillmoor
