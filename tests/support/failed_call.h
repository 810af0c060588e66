// Failures of the calls in the tables of system calls.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <type_traits>

#include "tests/support/call_tables.h"

namespace quillmoor::test {

// `Member` is one of `Members`.
template <auto First, auto Second>
constexpr bool isSame = false;
template <auto Member>
constexpr bool isSame<Member, Member> = true;
template <auto Member, auto... Members>
constexpr bool isOneOf = (isSame<Member, Members> || ...);

// Returns what the call returns for this error, and sets errno unless the call returns the error
// itself.
template <auto Member, typename Result, typename... Arguments>
Result failedCall(int error, Arguments... arguments) {
    using Calls = platform::posix::SystemCalls;
    // A close that fails has closed the descriptor nevertheless.
    if constexpr (isSame<Member, &Calls::close>) ::close(arguments...);
    // The only error of a thread that cannot be created.
    if constexpr (isSame<Member, &Calls::pthread_create>) return EAGAIN;
    if constexpr (isSame<Member, &Calls::posix_spawn>) return error;
    errno = error;
    if constexpr (isOneOf<Member, &Calls::mmap, &LinuxCalls::mremap>)
        return MAP_FAILED;
    else if constexpr (std::is_pointer_v<Result>)
        return nullptr;
    else
        return -1;
}

}  // namespace quillmoor::test
