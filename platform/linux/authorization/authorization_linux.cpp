#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"
#include "quillmoor/platform/linux/authorization/channel/tool_environment_linux.h"
#include "quillmoor/platform/linux/authorization/direct_launch_linux.h"
#include "quillmoor/platform/linux/authorization/grant_linux.h"
#include "quillmoor/platform/linux/authorization/launch/launchers_linux.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {

// Without either of its members, a reference without rights.
struct AuthorizationOpaque {
    bool isDirect = false;  // this process is root and needs no helper
    std::optional<linux_::authorization::Grant> grant;
};

namespace linux_::authorization {
namespace {

bool isRoot() {
    return ::getuid() == 0;
}

// secure_getenv, since the environment of a setuid program is its caller's and must not be trusted.
// Every user can set the variable, so the process must be root's as well.
bool isAuthorizedTool() {
    return ::geteuid() == 0 && ::secure_getenv(kAuthorizedUid) != nullptr;
}

std::optional<std::string_view> valueOf(const AuthorizationItemSet& items, std::string_view name) {
    if (!items) return std::nullopt;
    for (const AuthorizationItem& item : *items)
        if (item.name == name) return item.value;
    return std::nullopt;
}

// Either character would end the text early: credentials are sent as lines and arguments.
bool isOneLine(std::string_view text) {
    return text.find_first_of(std::string_view("\0\n", 2)) == std::string_view::npos;
}

// Views of the caller's texts: a password is not copied.
struct Credentials {
    std::string_view user;
    std::string_view password;
};

std::optional<Credentials> credentialsIn(const AuthorizationItemSet& environment) {
    const auto user = valueOf(environment, kAuthorizationEnvironmentUsername);
    const auto password = valueOf(environment, kAuthorizationEnvironmentPassword);
    if (!user || !password) return std::nullopt;
    return Credentials{*user, *password};
}

bool areGrantable(const AuthorizationItemSet& rights) {
    return std::all_of(rights->begin(), rights->end(), [](const AuthorizationItem& item) {
        return item.name == kAuthorizationRightAdmin;
    });
}

// nil also without a trustworthy helper, which could never connect.
std::optional<Rendezvous> openRendezvous() {
    std::optional<Rendezvous> rendezvous = Rendezvous::open();
    if (rendezvous && rendezvous->helperCommand().empty()) return std::nullopt;
    return rendezvous;
}

AuthorizationStatus askUser(std::optional<Channel>& channel) {
    std::optional<Rendezvous> rendezvous = openRendezvous();
    return rendezvous ? launchWithDialog(*rendezvous, channel) : kAuthorizationInternal;
}

AuthorizationStatus tryCredentials(const std::optional<Credentials>& credentials,
                                   std::optional<Channel>& channel) {
    if (!credentials) return kAuthorizationInteractionNotAllowed;
    if (!isOneLine(credentials->user) || !isOneLine(credentials->password))
        return kAuthorizationDenied;
    std::optional<Rendezvous> rendezvous = openRendezvous();
    if (!rendezvous) return kAuthorizationInternal;
    return launchWithCredentials(*rendezvous, credentials->user, credentials->password, channel);
}

class LinuxAuthorization final : public Authorization {
  public:
    AuthorizationStatus create(const AuthorizationItemSet&, const AuthorizationItemSet&,
                               AuthorizationFlags, AuthorizationRef& reference) override {
        // No user is asked before copyRights, so there is nothing to refuse.
        reference = new AuthorizationOpaque;
        return kAuthorizationSuccess;
    }

    AuthorizationStatus copyRights(AuthorizationRef reference, const AuthorizationItemSet& rights,
                                   const AuthorizationItemSet& environment,
                                   AuthorizationFlags flags) override {
        if (reference == nullptr) return kAuthorizationInvalidReference;
        if (!rights || rights->empty()) return kAuthorizationSuccess;
        if (!areGrantable(rights)) return kAuthorizationDenied;
        if (reference->isDirect) return kAuthorizationSuccess;
        // Root is asked nothing, whatever is given: there is nothing left to grant.
        if (isRoot()) {
            reference->isDirect = true;
            return kAuthorizationSuccess;
        }
        // Given credentials are always verified, also while authorization is held.
        const std::optional<Credentials> credentials = credentialsIn(environment);
        const bool isHeld = reference->grant && reference->grant->isHeld();
        if (isHeld && !credentials) return kAuthorizationSuccess;
        const bool mayAsk = (flags & kAuthorizationFlagInteractionAllowed) != 0;
        std::optional<Channel> channel;
        const AuthorizationStatus status =
            mayAsk ? askUser(channel) : tryCredentials(credentials, channel);
        // When the helper ends the user can be asked again; a password is not kept for that.
        if (status == kAuthorizationSuccess)
            reference->grant.emplace(*std::move(channel), mayAsk ? askUser : nullptr);
        return status;
    }

    AuthorizationStatus free(AuthorizationRef reference, AuthorizationFlags) override {
        if (reference == nullptr) return kAuthorizationInvalidReference;
        delete reference;
        return kAuthorizationSuccess;
    }

    AuthorizationStatus copyPrivilegedReference(AuthorizationFlags,
                                                AuthorizationRef& reference) override {
        if (!isAuthorizedTool()) return kAuthorizationDenied;
        reference = new AuthorizationOpaque{true, std::nullopt};
        return kAuthorizationSuccess;
    }

    AuthorizationStatus executeWithPrivileges(
        AuthorizationRef reference, const std::string& tool, AuthorizationFlags,
        const StringList& arguments, std::shared_ptr<AuthorizedToolStream>& stream) override {
        if (reference == nullptr) return kAuthorizationInvalidReference;
        if (!reference->isDirect && !reference->grant) return kAuthorizationDenied;
        // As the helper, which starts absolute paths only: both ways refuse the same.
        if (!tool.starts_with('/')) return kAuthorizationToolExecuteFailure;
        return reference->isDirect ? executeDirectly(tool, arguments, stream)
                                   : reference->grant->execute(tool, arguments, stream);
    }
};

}  // namespace
}  // namespace linux_::authorization

Authorization* nativeAuthorization() {
    static Authorization* const authorization = new linux_::authorization::LinuxAuthorization;
    return authorization;
}

}  // namespace quillmoor::platform
