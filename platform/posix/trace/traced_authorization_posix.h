// The authorization service with a line about each call.
#pragma once

#include "quillmoor/platform/authorization.h"

namespace quillmoor::platform::posix {

// Shows the names of rights and tools, how many arguments a tool gets, and results; never what the
// environment of a question or an argument holds.
class TracedAuthorization final : public Authorization {
  public:
    // `below` must outlive it.
    explicit TracedAuthorization(Authorization& below) : below_(below) {}

    AuthorizationStatus create(const AuthorizationItemSet& rights,
                               const AuthorizationItemSet& environment, AuthorizationFlags flags,
                               AuthorizationRef& reference) override;
    AuthorizationStatus copyRights(AuthorizationRef reference, const AuthorizationItemSet& rights,
                                   const AuthorizationItemSet& environment,
                                   AuthorizationFlags flags) override;
    AuthorizationStatus free(AuthorizationRef reference, AuthorizationFlags flags) override;
    AuthorizationStatus copyPrivilegedReference(AuthorizationFlags flags,
                                                AuthorizationRef& reference) override;
    AuthorizationStatus executeWithPrivileges(
        AuthorizationRef reference, const std::string& tool, AuthorizationFlags options,
        const StringList& arguments, std::shared_ptr<AuthorizedToolStream>& stream) override;

  private:
    Authorization& below_;
};

}  // namespace quillmoor::platform::posix
