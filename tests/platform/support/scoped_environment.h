// An environment variable set, or with null taken away, for as long as this lives.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace quillmoor::test {

class ScopedEnvironment {
  public:
    ScopedEnvironment(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        put(value);
    }
    ScopedEnvironment(const char* name, const std::string& value)
        : ScopedEnvironment(name, value.c_str()) {}
    ~ScopedEnvironment() { put(before_ ? before_->c_str() : nullptr); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  private:
    void put(const char* value) {
        value != nullptr ? ::setenv(name_, value, 1) : ::unsetenv(name_);
    }

    const char* name_;
    std::optional<std::string> before_;
};

}  // namespace quillmoor::test
