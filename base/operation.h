// The record that an operation keeps while it runs, from which KXFailure::last() is made.
//
//   bool KXAuthorization::authCopyFile(const OptionalPath& path, const OptionalPath& toPath) {
//       return recorded({"-[KXAuthorization authCopyFile:toPath:]", path, toPath}, [&] {
//           …
//           if (!somethingAt(path)) return noteFailure(KXFailure::Reason::MissingItem);
//       });
//   }
//
// Operations call each other. Only the outermost one of a thread sets the thread's failure: to its
// own if it noted one, else to that of the last operation that failed inside it.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "quillmoor/base/failure.h"
#include "quillmoor/base/outcome.h"
#include "quillmoor/base/types.h"

namespace quillmoor {

// An operation and what it was called with. Refers to its arguments.
struct OperationCall {
    // NOLINTNEXTLINE(google-explicit-constructor): a literal is what callers write
    OperationCall(const char* selector) : name(selector) {}
    OperationCall(const char* selector, const OptionalPath& item) : name(selector), path(&item) {}
    OperationCall(const char* selector, const OptionalPath& item, const OptionalPath& destination)
        : name(selector), path(&item), toPath(&destination) {}

    const char* name;
    const OptionalPath* path = nullptr;
    const OptionalPath* toPath = nullptr;
};

// One call, from its begin to its end, on one thread. Nothing here throws: without memory for the
// paths and the text, a failure is recorded without them.
class Operation {
  public:
    explicit Operation(const OperationCall& call) noexcept;
    // Without end(), the operation has failed if a failure was noted in it or inside it.
    ~Operation();
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    void end(bool succeeded) noexcept { succeeded_ = succeeded; }

    // Each note replaces the one before. A nil path stands for that of the call.
    void note(KXFailure::Reason reason, int systemError, const char* description,
              const OptionalPath& path) noexcept;
    void note(const std::exception& exception) noexcept;
    void noteUnknownException() noexcept;
    void noteStatus(std::int32_t status) noexcept;
    void noteAuthorization(KXFailure::Authorization result, std::int32_t status) noexcept;
    void notePartDone() noexcept { partDone_ = true; }
    bool hasFailure() const noexcept { return failure_.has_value(); }

  private:
    void complete() noexcept;
    void passOn() noexcept;
    void adopt(KXFailure&& failure) noexcept;

    const OperationCall call_;
    Operation* const outer_;
    std::optional<bool> succeeded_;
    bool hasOwnFailure_ = false;
    bool partDone_ = false;
    std::optional<KXFailure> failure_;
    KXFailure::Authorization authorization_ = KXFailure::Authorization::NotTried;
    std::int32_t authorizationStatus_ = 0;
};

// While the library calls code of others on this thread, such as handlers of events: their
// operations are not part of the one that is running.
class OutsideOperations {
  public:
    OutsideOperations() noexcept;
    ~OutsideOperations();
    OutsideOperations(const OutsideOperations&) = delete;
    OutsideOperations& operator=(const OutsideOperations&) = delete;

  private:
    Operation* const interrupted_;
};

// Sets what KXFailure::last() returns on this thread.
void setLastFailure(std::optional<KXFailure> failure) noexcept;

// Notes of the operation that is running. Without effect outside operations.

// Why it fails, in place of what was noted before; a nil path stands for that of the call. Returns
// false, which is usually the result.
bool noteFailure(KXFailure::Reason reason, const OptionalPath& path = std::nullopt) noexcept;
bool noteFailure(const Error& error, const OptionalPath& path = std::nullopt) noexcept;
bool noteFailure(const std::exception& exception) noexcept;
// Whether a failure was noted, in the operation or inside it.
bool hasNotedFailure() noexcept;
// A status of the platform. Returns whether it is a success.
bool noteStatus(std::int32_t status) noexcept;
// The request for administrator rights.
void noteAuthorization(KXFailure::Authorization result, std::int32_t status = 0) noexcept;
// One of several steps was done, and stays so if another fails. Returns `done`.
bool notePartDone(bool done = true) noexcept;

// The result of `body`, an operation. What it throws is recorded as its failure, and reaches the
// caller. A bool says whether the operation has succeeded, and so does a status of the platform,
// std::int32_t; with another result it has if it noted no failure.
template <typename Body>
auto recorded(const OperationCall& call, const Body& body) {
    Operation operation(call);
    try {
        using Result = std::invoke_result_t<Body>;
        if constexpr (std::is_same_v<Result, bool> || std::is_same_v<Result, std::int32_t>) {
            const Result result = body();
            operation.end(result == Result{std::is_same_v<Result, bool>});
            return result;
        } else {
            return body();
        }
    } catch (const std::exception& exception) {
        operation.note(exception);
        throw;
    } catch (...) {
        operation.noteUnknownException();
        throw;
    }
}

}  // namespace quillmoor
