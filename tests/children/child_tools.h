// What a test does with the tiny programs of this folder.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>

namespace quillmoor::test {

// The address space and the signals of this program are shared with a sanitizer.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
inline constexpr bool kSanitized =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool kSanitized = false;
#endif

// The path of a program of this folder.
std::string childPath(std::string_view name);

// Asks again and again, for ten seconds at most, until the answer is yes; answers the last one.
bool eventually(const std::function<bool()>& condition);

// The number that a child has written to `file`; waits for it. -1 when none came.
pid_t pidIn(const std::string& file);

// A process of that number exists, be it one that has ended and whose status nobody has collected.
bool processExists(pid_t pid);

// Children of this process that have ended and whose status nobody has collected.
int zombieCount();

// Of this process.
int openDescriptorCount();
int threadCount();

}  // namespace quillmoor::test
