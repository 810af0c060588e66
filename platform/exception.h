// What platform calls throw.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace quillmoor::platform {

// An exception with a name, for programs, and a reason, for people.
class Exception : public std::exception {
  public:
    Exception(std::string name, std::string reason)
        : name_(std::move(name)), reason_(std::move(reason)) {}

    const std::string& name() const { return name_; }
    const std::string& reason() const { return reason_; }
    const char* what() const noexcept override { return reason_.c_str(); }

  private:
    std::string name_;
    std::string reason_;
};

// Names that the back-ends use.
inline constexpr char kInvalidArgumentException[] = "NSInvalidArgumentException";
inline constexpr char kFileHandleOperationException[] = "NSFileHandleOperationException";

}  // namespace quillmoor::platform
