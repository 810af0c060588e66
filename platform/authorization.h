// Administrator rights: the system's authorization services.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// What a process was granted. Known to its back-end only.
struct AuthorizationOpaque;
using AuthorizationRef = AuthorizationOpaque*;

// A right that is asked for, or a fact that is handed along with the question.
struct AuthorizationItem {
    std::string name;
    std::optional<std::string_view> value;  // bytes, not owned; nil is none
    std::uint32_t flags = 0;
};

// nil is none.
using AuthorizationItemSet = std::optional<std::vector<AuthorizationItem>>;

using AuthorizationFlags = std::uint32_t;
inline constexpr AuthorizationFlags kAuthorizationFlagDefaults = 0;
inline constexpr AuthorizationFlags kAuthorizationFlagInteractionAllowed = 1;
inline constexpr AuthorizationFlags kAuthorizationFlagExtendRights = 2;
inline constexpr AuthorizationFlags kAuthorizationFlagPreAuthorize = 16;

inline constexpr char kAuthorizationRightAdmin[] = "system.privilege.admin";
inline constexpr char kAuthorizationEnvironmentUsername[] = "username";
inline constexpr char kAuthorizationEnvironmentPassword[] = "password";

using AuthorizationStatus = std::int32_t;
inline constexpr AuthorizationStatus kAuthorizationSuccess = 0;
inline constexpr AuthorizationStatus kAuthorizationInvalidReference = -60002;
inline constexpr AuthorizationStatus kAuthorizationDenied = -60005;    // asked, and refused
inline constexpr AuthorizationStatus kAuthorizationCanceled = -60006;  // the user dismissed it
// Nobody could be asked: no dialog can appear here, or none was allowed.
inline constexpr AuthorizationStatus kAuthorizationInteractionNotAllowed = -60007;
inline constexpr AuthorizationStatus kAuthorizationInternal = -60008;
inline constexpr AuthorizationStatus kAuthorizationToolExecuteFailure = -60031;

// The stream to a tool that runs with rights. Letting go of it closes nothing: its descriptors are
// given back once the tool has closed its own ends.
class AuthorizedToolStream {
  public:
    virtual ~AuthorizedToolStream() = default;

    // `fgetc`: waits for a byte of the tool's standard output. Answers 0 to 255, or -1 when the
    // tool has closed it.
    virtual int readCharacter() = 0;

    // Writes to the tool's standard input, all of it. NO when the tool has closed it; no signal is
    // raised.
    virtual bool write(std::string_view bytes) = 0;
};

// The five calls. Each reference is used by one thread at a time.
class Authorization {
  public:
    virtual ~Authorization() = default;

    // `AuthorizationCreate`: a reference without rights. `reference` is left alone on failure.
    virtual AuthorizationStatus create(const AuthorizationItemSet& rights,
                                       const AuthorizationItemSet& environment,
                                       AuthorizationFlags flags, AuthorizationRef& reference) = 0;

    // `AuthorizationCopyRights`: asks for rights. With interaction allowed the user may be asked
    // and the call waits for the answer; without it, the environment's user name and password are
    // tried. Where nobody can be asked it answers at once.
    virtual AuthorizationStatus copyRights(AuthorizationRef reference,
                                           const AuthorizationItemSet& rights,
                                           const AuthorizationItemSet& environment,
                                           AuthorizationFlags flags) = 0;

    // `AuthorizationFree`: ends the reference and gives its rights up. Tools that were started with
    // it run on.
    virtual AuthorizationStatus free(AuthorizationRef reference, AuthorizationFlags flags) = 0;

    // `AuthorizationCopyPrivilegedReference`: the reference that a parent handed to this process
    // when it started it with rights. Fails where there is none.
    virtual AuthorizationStatus copyPrivilegedReference(AuthorizationFlags flags,
                                                        AuthorizationRef& reference) = 0;

    // `AuthorizationExecuteWithPrivileges`: starts `tool`, an absolute path, as the super-user and
    // does not wait for it. Arguments arrive byte for byte. Its standard input and output are
    // `stream`; the rest it has from this process: standard error and the working folder. Where
    // root or this process can no longer enter that folder, the tool has an empty one instead, in
    // which relative paths fail. Rights that a dialog gave and the system has lost are asked for
    // once more first, which waits for the answer.
    virtual AuthorizationStatus executeWithPrivileges(
        AuthorizationRef reference, const std::string& tool, AuthorizationFlags options,
        const StringList& arguments, std::shared_ptr<AuthorizedToolStream>& stream) = 0;
};

}  // namespace quillmoor::platform
