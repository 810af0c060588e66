// The exception that ends the tool's work, with a message for people.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace quillmoor::ditto {

class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws a Failure for a failed system call: “path” couldn’t be opened: Permission denied
[[noreturn]] void failWithErrno(std::string_view path, std::string_view what);
[[noreturn]] void failWithError(std::string_view path, std::string_view what, int error);

// Reports on standard error that something temporary could not be removed.
void warnOfResidue(const std::string& name) noexcept;

}  // namespace quillmoor::ditto
