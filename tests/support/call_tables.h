// The two tables of system calls, the shared one and Linux's own, for code that treats the entries
// of both in the same way.
#pragma once

#include <type_traits>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::test {

using platform::linux_::LinuxCalls;
using platform::posix::SystemCalls;

// The table of an entry, and the entry's type.
template <auto Member>
struct EntryOf;
template <typename TheTable, typename TheFunction, TheFunction TheTable::*Member>
struct EntryOf<Member> {
    using Function = TheFunction;
    static constexpr bool isShared = std::is_same_v<TheTable, SystemCalls>;
};

// The number of entries of both tables.
inline constexpr std::size_t kCallCount =
    (sizeof(SystemCalls) + sizeof(LinuxCalls)) / sizeof(void*);

struct CallTables {
    SystemCalls shared{};
    LinuxCalls own{};

    template <auto Member>
    void set(typename EntryOf<Member>::Function function) {
        if constexpr (EntryOf<Member>::isShared)
            shared.*Member = function;
        else
            own.*Member = function;
    }
};

// The tables in use at a time.
struct CallTablesInForce {
    const SystemCalls* shared = nullptr;
    const LinuxCalls* own = nullptr;

    template <auto Member>
    typename EntryOf<Member>::Function get() const {
        if constexpr (EntryOf<Member>::isShared)
            return shared->*Member;
        else
            return own->*Member;
    }
};

// Installs both tables and returns the previous ones. Null is the system's own table.
inline CallTablesInForce exchangeCallTables(const CallTablesInForce& tables) {
    return {platform::posix::exchangeSystemCalls(tables.shared),
            platform::linux_::exchangeLinuxCalls(tables.own)};
}

}  // namespace quillmoor::test
