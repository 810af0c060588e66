// The programs that can bring rights, and what they are given.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_::authorization {

inline constexpr char kPkexec[] = "pkexec";
inline constexpr char kAgent[] = "pkttyagent";
inline constexpr char kSudo[] = "sudo";
inline constexpr char kSu[] = "su";

// Where the system keeps the program `name`, never looked for in $PATH; nil where it has none, or
// one that others could have exchanged.
OptionalPath systemProgram(const std::string& name);

// This process may not gain privileges, and no program it starts: it runs in a sandbox.
bool isConfined();

// For a program whose texts are read: nothing of this process's environment.
Environment plainEnvironment();
// For a program that speaks to the user: with the user's language.
Environment userEnvironment();

}  // namespace quillmoor::platform::linux_::authorization
