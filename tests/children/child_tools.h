// Helpers for tests that run the programs of this folder.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>

namespace quillmoor::test {

// Whether a sanitizer shares the address space and the signals of this program.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
inline constexpr bool kSanitized =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool kSanitized = false;
#endif

// Returns the path of a program of this folder.
std::string childPath(std::string_view name);

// Evaluates `condition` repeatedly until it is true, for ten seconds at most. Returns its last
// value.
bool eventually(const std::function<bool()>& condition);

// Waits for the process number that a child writes to `file`, and returns it; -1 if none is
// written.
pid_t pidIn(const std::string& file);

// Returns whether a process of that number exists, including zombies.
bool processExists(pid_t pid);

// Returns the number of children of this process that are zombies.
int zombieCount();

// The numbers of this process.
int openDescriptorCount();
int threadCount();

}  // namespace quillmoor::test
