// Success, or an error with a text for people.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace quillmoor {

struct Error {
    int code = 0;             // the system's error number
    std::string description;  // as in: “name” couldn’t be removed: Permission denied
    // Of a move: the whole item is at its destination, and a part of it could not be removed from
    // its old place.
    bool copyRemains = false;
};

class [[nodiscard]] Outcome {
  public:
    static Outcome success() { return Outcome{}; }
    static Outcome failure(Error error) {
        Outcome outcome;
        outcome.error_ = std::move(error);
        return outcome;
    }

    explicit operator bool() const { return !error_.has_value(); }

    // Only after a failure.
    const Error& error() const { return *error_; }

  private:
    std::optional<Error> error_;
};

}  // namespace quillmoor
