#include "tests/platform/macos/fakes/fake_security.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace quillmoor::test {
namespace {

FakeSecurity* current = nullptr;

// Copied at once: the caller's items are on its stack.
SecurityItems copied(const AuthorizationItemSet* set) {
    if (set == nullptr) return std::nullopt;
    std::vector<SecurityItem> items;
    for (UInt32 i = 0; i < set->count; ++i) {
        const AuthorizationItem& item = set->items[i];
        SecurityItem copy{item.name, item.valueLength, std::nullopt, item.flags};
        if (item.value != nullptr)
            copy.value = std::string(static_cast<const char*>(item.value), item.valueLength);
        items.push_back(std::move(copy));
    }
    return items;
}

OSStatus decide(::AuthorizationRef reference, const SecurityItems& rights) {
    if (!rights || rights->empty()) return errAuthorizationSuccess;
    for (const SecurityItem& right : *rights)
        if (right.name != "system.privilege.admin") return errAuthorizationDenied;
    if (::getuid() != 0) return errAuthorizationInteractionNotAllowed;
    current->authorized.push_back(reference);
    return errAuthorizationSuccess;
}

// The child's process is never collected, as by the system's call.
OSStatus start(const char* tool, char* const* arguments, int end) {
    std::vector<char*> all{const_cast<char*>(tool)};
    for (char* const* each = arguments; *each != nullptr; ++each) all.push_back(*each);
    all.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, end, 0);
    ::posix_spawn_file_actions_adddup2(&actions, end, 1);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    pid_t child = 0;
    const int error = ::posix_spawn(&child, tool, &actions, nullptr, all.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? errAuthorizationSuccess : errAuthorizationToolExecuteFailure;
}

void print(const char* name, const SecurityItems& items, std::ostream& stream) {
    if (!items) return;
    stream << ' ' << name << ':';
    for (const SecurityItem& item : *items)
        stream << ' ' << item.name << '=' << item.value.value_or("(null)") << '/' << item.length
               << '/' << item.flags;
}

bool isAuthorized(::AuthorizationRef reference) {
    return std::find(current->authorized.begin(), current->authorized.end(), reference) !=
           current->authorized.end();
}

bool isOpen(::AuthorizationRef reference) {
    return std::find(current->open.begin(), current->open.end(), reference) != current->open.end();
}

}  // namespace

void PrintTo(const SecurityCall& call, std::ostream* stream) {
    *stream << call.function << " of " << call.reference << " flags " << call.flags;
    print("rights", call.rights, *stream);
    print("environment", call.environment, *stream);
    if (!call.tool.empty()) *stream << ' ' << call.tool;
    for (const std::string& argument : call.arguments) *stream << " '" << argument << '\'';
    if (call.asksForGrantedRights) *stream << " asks for the granted rights";
    if (call.asksForPipe) *stream << " asks for a pipe";
}

FakeSecurity::FakeSecurity() {
    current = this;
}
FakeSecurity::~FakeSecurity() {
    current = nullptr;
    if (toolEnd >= 0) ::close(toolEnd);
}

::AuthorizationRef FakeSecurity::makeReference() {
    auto* const reference = reinterpret_cast<::AuthorizationRef>(++lastReference_ * 16);
    made.push_back(reference);
    open.push_back(reference);
    return reference;
}

}  // namespace quillmoor::test

using quillmoor::test::copied;
using quillmoor::test::current;
using quillmoor::test::isOpen;

OSStatus AuthorizationCreate(const AuthorizationRights* rights,
                             const AuthorizationEnvironment* environment, AuthorizationFlags flags,
                             AuthorizationRef* authorization) {
    if (current == nullptr) return errAuthorizationInternal;
    current->calls.push_back({.function = "AuthorizationCreate",
                              .flags = flags,
                              .rights = copied(rights),
                              .environment = copied(environment)});
    if (current->created == errAuthorizationSuccess) *authorization = current->makeReference();
    return current->created;
}

OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags) {
    if (current == nullptr) return errAuthorizationInternal;
    current->calls.push_back(
        {.function = "AuthorizationFree", .reference = authorization, .flags = flags});
    if (!isOpen(authorization)) {
        ++current->wronglyFreed;
        return errAuthorizationInvalidRef;
    }
    std::erase(current->open, authorization);
    return errAuthorizationSuccess;
}

OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationRights* rights,
                                 const AuthorizationEnvironment* environment,
                                 AuthorizationFlags flags, AuthorizationRights** authorizedRights) {
    if (current == nullptr) return errAuthorizationInternal;
    current->calls.push_back({.function = "AuthorizationCopyRights",
                              .reference = authorization,
                              .flags = flags,
                              .rights = copied(rights),
                              .environment = copied(environment),
                              .asksForGrantedRights = authorizedRights != nullptr});
    if (!isOpen(authorization)) return errAuthorizationInvalidRef;
    return current->decides ? quillmoor::test::decide(authorization, current->calls.back().rights)
                            : current->granted;
}

OSStatus AuthorizationCopyPrivilegedReference(AuthorizationRef* authorization,
                                              AuthorizationFlags flags) {
    if (current == nullptr) return errAuthorizationInternal;
    current->calls.push_back({.function = "AuthorizationCopyPrivilegedReference", .flags = flags});
    if (current->passed == nullptr) return errAuthorizationInvalidRef;
    *authorization = current->passed;
    return errAuthorizationSuccess;
}

OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
                                            AuthorizationFlags options, char* const* arguments,
                                            FILE** communicationsPipe) {
    if (current == nullptr) return errAuthorizationInternal;
    quillmoor::test::SecurityCall call{.function = "AuthorizationExecuteWithPrivileges",
                                       .reference = authorization,
                                       .flags = options,
                                       .tool = pathToTool,
                                       .asksForPipe = communicationsPipe != nullptr};
    for (char* const* each = arguments; *each != nullptr; ++each) call.arguments.push_back(*each);
    current->calls.push_back(std::move(call));
    if (current->decides && !quillmoor::test::isAuthorized(authorization))
        return errAuthorizationDenied;
    if (current->executed != errAuthorizationSuccess || !current->hasPipe) return current->executed;
    int ends[2];
    // The system's pipe is one descriptor for both directions, and is left to children.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return errAuthorizationInternal;
    if (current->decides) {
        const OSStatus status = quillmoor::test::start(pathToTool, arguments, ends[1]);
        ::close(ends[1]);
        if (status != errAuthorizationSuccess) {
            ::close(ends[0]);
            return status;
        }
    } else if (current->toolOutput) {
        const std::string& output = *current->toolOutput;
        const bool written =
            ::write(ends[1], output.data(), output.size()) == static_cast<ssize_t>(output.size());
        ::close(ends[1]);
        if (!written) return errAuthorizationInternal;
    } else {
        current->toolEnd = ends[1];
    }
    current->pipeEnd = ends[0];
    *communicationsPipe = ::fdopen(ends[0], "r+");
    return errAuthorizationSuccess;
}
