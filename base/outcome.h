// Success, or an error with a text for people.
//
//   const Outcome removed = files.removeItem(path);
//   if (!removed) KXLog::appendLog("Error removing file: %@", removed.error().description);
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace quillmoor {

struct Error {
    // The system's error number (errno); 0 where the failure has none.
    int code = 0;
    // A sentence for people, as in: “name” couldn’t be removed: Permission denied
    std::string description;
    // Only after a move to another file system: the complete item is at its destination, and a part
    // of the source could not be removed.
    bool copyRemains = false;
};

// The result of an operation that changes something. Converts to true after success. Each operation
// says what is left after a failure.
class [[nodiscard]] Outcome {
  public:
    static Outcome success() { return Outcome{}; }
    static Outcome failure(Error error) {
        Outcome outcome;
        outcome.error_ = std::move(error);
        return outcome;
    }

    explicit operator bool() const { return !error_.has_value(); }

    // Why it failed. Must not be called after success.
    const Error& error() const { return *error_; }

  private:
    std::optional<Error> error_;
};

}  // namespace quillmoor
