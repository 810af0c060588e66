// Success, or an error with a text for people.
//
//   const Outcome removed = files.removeItem(path);
//   if (!removed) KXLog::appendLog("Error removing file: %@", removed.error().description);
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace quillmoor {

// Why an operation failed.
struct Error {
    // The system's error number (errno); 0 where the failure has none.
    int code = 0;
    // A sentence for people, as in: “name” couldn’t be removed: Permission denied
    // Programs compare the code instead: the reason's words are the system's.
    std::string description;
    // Only after a move to another file system: the complete item is at its destination, and a part
    // of the source could not be removed.
    bool copyRemains = false;
    // A part of the change was made, and remains. False where the platform does not report it.
    bool isHalfDone = false;
};

// The result of an operation that changes something. Converts to true after success. Each operation
// says what is left after a failure. The compiler warns of a result that is not examined; where a
// failure does not matter, it is cast to void, with the reason beside it.
//
// A value without ties to a thread. Only copying a failure allocates memory, and may throw
// std::bad_alloc.
class [[nodiscard]] Outcome {
  public:
    // Allocates nothing, so that it can be returned when memory has run out.
    static Outcome success() { return Outcome{}; }
    // A failure for this reason, also if its code is 0.
    static Outcome failure(Error error) {
        Outcome outcome;
        outcome.error_ = std::move(error);
        return outcome;
    }

    // True after success. Explicit: an Outcome is not taken for a number.
    explicit operator bool() const { return !error_.has_value(); }

    // Why it failed. Must not be called after success. The reference is valid as long as this
    // Outcome lives and is not assigned to.
    const Error& error() const { return *error_; }

  private:
    std::optional<Error> error_;
};

}  // namespace quillmoor
