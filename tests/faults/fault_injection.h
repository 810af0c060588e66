// Calls of the operating system, and allocations, that fail when the test wants it.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "tests/support/failing_allocations.h"

namespace quillmoor::test {

// What is wrong with the system. A call fails only where it can give that error.
enum class Trouble { InputOutput, DiskFull, Interrupted, NoDescriptors, NoMemory, NoAllocation };
inline constexpr std::array kTroubles{Trouble::InputOutput, Trouble::DiskFull,
                                      Trouble::Interrupted, Trouble::NoDescriptors,
                                      Trouble::NoMemory,    Trouble::NoAllocation};
const char* nameOf(Trouble trouble);

enum class Lasting {
    Once,       // that one call
    FromThenOn  // that call and every one after it
};

// The `nth` call, counting from 1, of those that can be hit, on any thread.
struct Fault {
    Trouble trouble;
    Lasting lasting;
    int nth;
};

// "EIO once, call 12"
std::string describe(const Fault& fault);

// For each trouble, how many calls it could hit.
using CallCounts = std::array<int, kTroubles.size()>;

// While it lives, calls are counted, and `fault`, if there is one, happens. One at a time.
class FaultInjection {
  public:
    explicit FaultInjection(const std::optional<Fault>& fault);
    ~FaultInjection();
    FaultInjection(const FaultInjection&) = delete;
    FaultInjection& operator=(const FaultInjection&) = delete;

    // Of the injection that lives or was the last one.
    static bool happened();
    static const char* call();  // the first that failed
    static CallCounts counts();
};

}  // namespace quillmoor::test
