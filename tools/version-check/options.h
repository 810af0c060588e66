// The command line.
#pragma once

#include <chrono>
#include <span>
#include <stdexcept>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::version_check {

struct Options {
    OptionalString compare;
    bool uninstall = false;
    bool unattended = false;
    std::chrono::seconds timeout{600};
    OptionalPath bundle;
    bool json = false;
    bool quiet = false;
};

// Says how the command is used, or what is wrong with its use.
class UsageExit : public std::runtime_error {
  public:
    UsageExit(const std::string& text, bool isError)
        : std::runtime_error(text), isError_(isError) {}
    bool isError() const { return isError_; }

  private:
    bool isError_;
};

// `arguments` are without the program's name. Throws UsageExit for --help and --version as well.
Options parseOptions(std::span<const char* const> arguments);

}  // namespace quillmoor::version_check
