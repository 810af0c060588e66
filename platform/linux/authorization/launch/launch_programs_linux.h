// The programs that can start the helper, and their environment.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_::authorization {

inline constexpr char kPkexec[] = "pkexec";
inline constexpr char kAgent[] = "pkttyagent";
inline constexpr char kSudo[] = "sudo";
inline constexpr char kSu[] = "su";

// The path of the system's program `name`, which is not searched for in $PATH; nil where there is
// none, or one that another user can replace.
OptionalPath systemProgram(const std::string& name);

// True in a sandbox: neither this process nor a program that it starts can gain privileges.
bool isConfined();

// For a program whose output is parsed: English, and nothing from this process's environment.
Environment plainEnvironment();
// For a program that asks the user: with the user's language.
Environment userEnvironment();

}  // namespace quillmoor::platform::linux_::authorization
