#include "quillmoor/base/failure.h"

#include <new>
#include <utility>

#include "quillmoor/base/operation.h"

namespace quillmoor {
namespace {

// The record in two parts. The numbers need no memory and no destructor, so that they are kept
// always.
struct Numbers {
    const char* operation;
    KXFailure::Reason reason;
    int systemError;
    std::int32_t platformStatus;
    KXFailure::Authorization authorization;
    std::int32_t authorizationStatus;
    bool isHalfDone;
};

thread_local constinit bool hasFailed = false;
thread_local constinit bool hasTexts = false;
thread_local constinit bool textsAreGone = false;  // the thread is ending, and has destroyed them
thread_local constinit Numbers numbers{};

struct Texts {
    OptionalPath path;
    OptionalPath toPath;
    std::string description;

    Texts() = default;
    ~Texts() {
        hasTexts = false;
        textsAreGone = true;
    }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;
};

thread_local Texts texts;

// The first use on a thread registers the destructor, for which some systems end the process if
// there is no memory.
bool canHaveTexts() {
    static thread_local constinit bool isRegistered = false;
    constexpr std::size_t kEnough = 256;
    if (textsAreGone) return false;
    if (isRegistered) return true;
    void* const probe = ::operator new[](kEnough, std::nothrow);
    isRegistered = probe != nullptr;
    ::operator delete[](probe);
    return isRegistered;
}

}  // namespace

std::optional<KXFailure> KXFailure::last() {
    if (!hasFailed) return std::nullopt;
    KXFailure failure;
    failure.operation = numbers.operation;
    failure.reason = numbers.reason;
    failure.systemError = numbers.systemError;
    failure.platformStatus = numbers.platformStatus;
    failure.authorization = numbers.authorization;
    failure.authorizationStatus = numbers.authorizationStatus;
    failure.isHalfDone = numbers.isHalfDone;
    if (!hasTexts) return failure;
    failure.path = texts.path;
    failure.toPath = texts.toPath;
    failure.description = texts.description;
    return failure;
}

void KXFailure::clear() noexcept {
    setLastFailure(std::nullopt);
}

// The texts of the failure before are kept until they are replaced.
void setLastFailure(std::optional<KXFailure> failure) noexcept {
    hasFailed = failure.has_value();
    hasTexts = false;
    if (!failure) return;
    numbers = {failure->operation,      failure->reason,        failure->systemError,
               failure->platformStatus, failure->authorization, failure->authorizationStatus,
               failure->isHalfDone};
    if (!canHaveTexts()) return;
    texts.path = std::move(failure->path);
    texts.toPath = std::move(failure->toPath);
    texts.description = std::move(failure->description);
    hasTexts = true;
}

}  // namespace quillmoor
