#include "quillmoor/platform/posix/trace/traced_authorization_posix.h"

#include "quillmoor/platform/posix/trace/trace_areas_posix.h"
#include "quillmoor/platform/posix/trace/trace_line_posix.h"

namespace quillmoor::platform::posix {
namespace {

// Names only: a value may be a password.
void putNames(TraceLine& line, const AuthorizationItemSet& items) {
    line.beginArgument();
    if (!items) return line.add("nil");
    line.add("{");
    for (const AuthorizationItem& item : *items) {
        if (&item != &items->front()) line.add(", ");
        line.addQuoted(item.name);
    }
    line.add("}");
}

void putFlags(TraceLine& line, AuthorizationFlags flags) {
    line.beginArgument();
    line.addHex(flags);
}

// Makes the call and completes the line with its result and its time.
template <typename Call>
AuthorizationStatus finish(TraceLine& line, const Call& call) {
    line.beginCall();
    const AuthorizationStatus status = call();
    line.endCall();
    line.addNumber(status);
    line.end();
    return status;
}

}  // namespace

AuthorizationStatus TracedAuthorization::create(const AuthorizationItemSet& rights,
                                                const AuthorizationItemSet& environment,
                                                AuthorizationFlags flags,
                                                AuthorizationRef& reference) {
    TraceLine line(kTraceAuthorization, "create");
    putNames(line, rights);
    putNames(line, environment);
    putFlags(line, flags);
    return finish(line, [&] { return below_.create(rights, environment, flags, reference); });
}

AuthorizationStatus TracedAuthorization::copyRights(AuthorizationRef reference,
                                                    const AuthorizationItemSet& rights,
                                                    const AuthorizationItemSet& environment,
                                                    AuthorizationFlags flags) {
    TraceLine line(kTraceAuthorization, "copyRights");
    putNames(line, rights);
    putNames(line, environment);
    putFlags(line, flags);
    return finish(line, [&] { return below_.copyRights(reference, rights, environment, flags); });
}

AuthorizationStatus TracedAuthorization::free(AuthorizationRef reference,
                                              AuthorizationFlags flags) {
    TraceLine line(kTraceAuthorization, "free");
    putFlags(line, flags);
    return finish(line, [&] { return below_.free(reference, flags); });
}

AuthorizationStatus TracedAuthorization::copyPrivilegedReference(AuthorizationFlags flags,
                                                                 AuthorizationRef& reference) {
    TraceLine line(kTraceAuthorization, "copyPrivilegedReference");
    putFlags(line, flags);
    return finish(line, [&] { return below_.copyPrivilegedReference(flags, reference); });
}

AuthorizationStatus TracedAuthorization::executeWithPrivileges(
    AuthorizationRef reference, const std::string& tool, AuthorizationFlags options,
    const StringList& arguments, std::shared_ptr<AuthorizedToolStream>& stream) {
    TraceLine line(kTraceAuthorization, "executeWithPrivileges");
    line.beginArgument();
    line.addQuoted(tool);
    line.beginArgument();
    line.addNumber(static_cast<std::int64_t>(arguments.size()));
    line.add(" arguments");
    putFlags(line, options);
    return finish(line, [&] {
        return below_.executeWithPrivileges(reference, tool, options, arguments, stream);
    });
}

}  // namespace quillmoor::platform::posix
