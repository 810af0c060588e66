#include "quillmoor/base/operation.h"

#include <new>

#include "quillmoor/base/paths.h"

namespace quillmoor {
namespace {

using Reason = KXFailure::Reason;

thread_local constinit Operation* innermost = nullptr;

// What follows the item's name. Empty for reasons whose text is the system's or an exception's.
const char* textOf(Reason reason) {
    switch (reason) {
        case Reason::MissingItem:
            return " doesn’t exist";
        case Reason::ProtectedFolder:
            return " is a folder of the system";
        case Reason::NotMounted:
            return " is on a volume that is not mounted";
        case Reason::NotEmpty:
            return " is not empty";
        case Reason::NotExecutable:
            return " is not executable";
        case Reason::ToolFailed:
            return " couldn’t be created by the tool";
        case Reason::TimedOut:
            return ": timed out";
        case Reason::NotAuthorized:
            return ": administrator rights were not granted";
        case Reason::System:
            return ": the system gave no reason";
        default:
            return "";
    }
}

std::string itemOf(const KXFailure& failure) {
    return failure.path ? "“" + lastPathComponent(*failure.path) + "”" : "the item";
}

std::string describe(const KXFailure& failure) {
    const std::int32_t number =
        failure.platformStatus != 0 ? failure.platformStatus : failure.systemError;
    if (number != 0) return itemOf(failure) + ": error " + std::to_string(number);
    if (failure.reason == Reason::NotAuthorized && !failure.path)
        return "administrator rights were not granted";
    if (failure.reason == Reason::MissingArgument) return "an argument is missing";
    if (failure.reason == Reason::OutOfMemory) return "not enough memory";
    return itemOf(failure) + textOf(failure.reason);
}

OptionalPath valueAt(const OptionalPath* path) {
    return path != nullptr ? *path : std::nullopt;
}

}  // namespace

Operation::Operation(const OperationCall& call) noexcept
    : call_(call), outer_(std::exchange(innermost, this)) {}

Operation::~Operation() {
    innermost = outer_;
    if (succeeded_ ? *succeeded_ : !failure_)
        failure_.reset();
    else
        complete();
    passOn();
}

// The paths are taken now: what they belong to may be gone when the operation ends.
void Operation::note(Reason reason, int systemError, const char* description,
                     const OptionalPath& path) noexcept {
    hasOwnFailure_ = true;
    failure_.emplace();
    failure_->reason = reason;
    failure_->systemError = systemError;
    try {
        failure_->path = path ? path : valueAt(call_.path);
        failure_->toPath = valueAt(call_.toPath);
        if (description != nullptr) failure_->description = description;
    } catch (const std::bad_alloc&) {
        return;
    }
}

void Operation::note(const std::exception& exception) noexcept {
    if (dynamic_cast<const std::bad_alloc*>(&exception) != nullptr)
        note(Reason::OutOfMemory, 0, nullptr, std::nullopt);
    else
        note(Reason::Exception, 0, exception.what(), std::nullopt);
}

void Operation::noteUnknownException() noexcept {
    note(Reason::Exception, 0, "an exception of an unknown class", std::nullopt);
}

void Operation::noteStatus(std::int32_t status) noexcept {
    note(Reason::System, 0, nullptr, std::nullopt);
    failure_->platformStatus = status;
}

void Operation::noteAuthorization(KXFailure::Authorization result, std::int32_t status) noexcept {
    authorization_ = result;
    authorizationStatus_ = status;
}

void Operation::complete() noexcept {
    if (!failure_) failure_.emplace();
    failure_->operation = call_.name;
    failure_->isHalfDone = failure_->isHalfDone || partDone_;
    // That of a part has its own: rights may have been granted for another part since.
    if (hasOwnFailure_) {
        failure_->authorization = authorization_;
        failure_->authorizationStatus = authorizationStatus_;
    }
    if (outer_ != nullptr || !failure_->description.empty()) return;
    try {
        failure_->description = describe(*failure_);
    } catch (const std::bad_alloc&) {
        return;
    }
}

void Operation::passOn() noexcept {
    if (outer_ == nullptr) return setLastFailure(std::move(failure_));
    // Also after a success: the operation outside may fail later, for another reason.
    if (authorization_ != KXFailure::Authorization::NotTried)
        outer_->noteAuthorization(authorization_, authorizationStatus_);
    if (failure_) outer_->adopt(*std::move(failure_));
}

// Missing rights concern the item that was named, and not the tool that would have changed it.
void Operation::adopt(KXFailure&& failure) noexcept {
    if (hasOwnFailure_) return;
    failure_ = std::move(failure);
    const bool lacksRights = failure_->reason == Reason::NotAuthorized;
    try {
        if (call_.path != nullptr && *call_.path && (lacksRights || !failure_->path)) {
            failure_->path = *call_.path;
            failure_->toPath = valueAt(call_.toPath);
        } else if (!failure_->toPath) {
            failure_->toPath = valueAt(call_.toPath);
        }
    } catch (const std::bad_alloc&) {
        return;
    }
}

OutsideOperations::OutsideOperations() noexcept : interrupted_(std::exchange(innermost, nullptr)) {}

OutsideOperations::~OutsideOperations() {
    innermost = interrupted_;
}

bool noteFailure(Reason reason, const OptionalPath& path) noexcept {
    if (innermost != nullptr) innermost->note(reason, 0, nullptr, path);
    return false;
}

bool noteFailure(const Error& error, const OptionalPath& path) noexcept {
    if (innermost == nullptr) return false;
    innermost->note(Reason::System, error.code, error.description.c_str(), path);
    if (error.isHalfDone || error.copyRemains) innermost->notePartDone();
    return false;
}

bool noteFailure(const std::exception& exception) noexcept {
    if (innermost != nullptr) innermost->note(exception);
    return false;
}

bool hasNotedFailure() noexcept {
    return innermost != nullptr && innermost->hasFailure();
}

bool noteStatus(std::int32_t status) noexcept {
    if (status != 0 && innermost != nullptr) innermost->noteStatus(status);
    return status == 0;
}

void noteAuthorization(KXFailure::Authorization result, std::int32_t status) noexcept {
    if (innermost != nullptr) innermost->noteAuthorization(result, status);
}

bool notePartDone(bool done) noexcept {
    if (done && innermost != nullptr) innermost->notePartDone();
    return done;
}

}  // namespace quillmoor
