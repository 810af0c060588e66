#include "quillmoor/platform/authorization.h"

#include <Security/Authorization.h>
#include <fcntl.h>

#include <cerrno>
#include <cstdio>

#include "quillmoor/platform/macos/authorization/obsolete_calls_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/ground/broken_pipe_posix.h"
#include "quillmoor/platform/posix/ground/c_strings_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform {
namespace macos {
namespace {

// The references of this interface are the system's own under another name.
::AuthorizationRef systemReference(AuthorizationRef reference) {
    return reinterpret_cast<::AuthorizationRef>(reference);
}
AuthorizationRef ownReference(::AuthorizationRef reference) {
    return reinterpret_cast<AuthorizationRef>(const_cast<AuthorizationOpaqueRef*>(reference));
}

// A list in the system's form. It points into the list that it was made from, which must outlive
// it; the system's calls copy what they keep.
class SystemItems {
  public:
    explicit SystemItems(const AuthorizationItemSet& items) : exists_(items.has_value()) {
        if (!items) return;
        items_.reserve(items->size());
        for (const AuthorizationItem& item : *items) items_.push_back(systemItem(item));
        set_.count = static_cast<UInt32>(items_.size());
        set_.items = items_.data();
    }
    SystemItems(const SystemItems&) = delete;
    SystemItems& operator=(const SystemItems&) = delete;

    // Null for nil.
    const ::AuthorizationItemSet* orNull() const { return exists_ ? &set_ : nullptr; }
    // An empty list for nil.
    const ::AuthorizationItemSet* get() const { return &set_; }

  private:
    static ::AuthorizationItem systemItem(const AuthorizationItem& item) {
        if (!item.value) return {item.name.c_str(), 0, nullptr, item.flags};
        // The system's type is not const, but it only reads the value.
        return {item.name.c_str(), item.value->size(), const_cast<char*>(item.value->data()),
                item.flags};
    }

    bool exists_;
    std::vector<::AuthorizationItem> items_;
    ::AuthorizationItemSet set_{0, nullptr};
};

// The file is never closed: a tool that still writes must not be ended by SIGPIPE. Null where the
// system could not make one for a tool that it has started: a stream that is at its end.
class MacToolStream final : public AuthorizedToolStream {
  public:
    explicit MacToolStream(std::FILE* file) : file_(file) {}

    int readCharacter() override {
        while (file_ != nullptr) {
            const int character = std::fgetc(file_);
            if (character != EOF) return character;
            if (std::ferror(file_) == 0 || errno != EINTR) return -1;
            std::clearerr(file_);
        }
        return -1;
    }

    // Not through the file's buffer, which is for reading.
    bool write(std::string_view bytes) override {
        if (file_ == nullptr) return false;
        const posix::BrokenPipeGuard guard;
        return posix::writeAll(::fileno(file_), bytes.data(), bytes.size()) == 0;
    }

  private:
    std::FILE* file_;
};

class MacAuthorization final : public Authorization {
  public:
    AuthorizationStatus create(const AuthorizationItemSet& rights,
                               const AuthorizationItemSet& environment, AuthorizationFlags flags,
                               AuthorizationRef& reference) override {
        const SystemItems systemRights(rights);
        const SystemItems systemEnvironment(environment);
        ::AuthorizationRef made = nullptr;
        const OSStatus status =
            ::AuthorizationCreate(systemRights.orNull(), systemEnvironment.orNull(), flags, &made);
        if (status == kAuthorizationSuccess) reference = ownReference(made);
        return status;
    }

    AuthorizationStatus copyRights(AuthorizationRef reference, const AuthorizationItemSet& rights,
                                   const AuthorizationItemSet& environment,
                                   AuthorizationFlags flags) override {
        const SystemItems systemRights(rights);
        const SystemItems systemEnvironment(environment);
        // No list of the granted rights is asked for, so there is none to free.
        return ::AuthorizationCopyRights(systemReference(reference), systemRights.get(),
                                         systemEnvironment.orNull(), flags, nullptr);
    }

    AuthorizationStatus free(AuthorizationRef reference, AuthorizationFlags flags) override {
        return ::AuthorizationFree(systemReference(reference), flags);
    }

    AuthorizationStatus copyPrivilegedReference(AuthorizationFlags flags,
                                                AuthorizationRef& reference) override {
        const auto copy = lateCall<CopyPrivilegedReference>(kCopyPrivilegedReference);
        if (copy == nullptr) return kAuthorizationInvalidReference;
        ::AuthorizationRef passed = nullptr;
        const OSStatus status = copy(&passed, flags);
        if (status == kAuthorizationSuccess) reference = ownReference(passed);
        return status;
    }

    AuthorizationStatus executeWithPrivileges(
        AuthorizationRef reference, const std::string& tool, AuthorizationFlags options,
        const StringList& arguments, std::shared_ptr<AuthorizedToolStream>& stream) override {
        if (reference == nullptr) return kAuthorizationInvalidReference;
        const auto execute = lateCall<ExecuteWithPrivileges>(kExecuteWithPrivileges);
        posix::CStrings texts;
        for (const std::string& argument : arguments) texts.add(argument);
        // A relative path would be one of whatever folder the tool's starter works in.
        const bool isPath = tool.starts_with('/') && tool.find('\0') == std::string::npos;
        if (execute == nullptr || !isPath || !texts.valid())
            return kAuthorizationToolExecuteFailure;
        std::FILE* file = nullptr;
        const OSStatus status =
            execute(systemReference(reference), tool.c_str(), options, texts.get(), &file);
        if (status != kAuthorizationSuccess) return status;
        // The system's call leaves that out, and other children would keep the tool's input open.
        if (file != nullptr) posix::systemCalls().fcntl(::fileno(file), F_SETFD, FD_CLOEXEC);
        stream = std::make_shared<MacToolStream>(file);
        return status;
    }
};

}  // namespace
}  // namespace macos

Authorization* nativeAuthorization() {
    static auto* const authorization = new macos::MacAuthorization;
    return authorization;
}

}  // namespace quillmoor::platform
