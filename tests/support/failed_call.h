// How a call of the tables of system calls fails.
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

// What the call returns with this error, which errno has where the call leaves it there.
template <auto Member, typename Result, typename... Arguments>
Result failedCall(int error, Arguments... arguments) {
    using Calls = platform::posix::SystemCalls;
    // The descriptor is closed all the same.
    if constexpr (isSame<Member, &Calls::close>) ::close(arguments...);
    // There is no other error for a thread that cannot be had.
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
