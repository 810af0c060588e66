#include "quillmoor/platform/linux/authorization/launch/launch_turn_linux.h"

#include <new>

#include "quillmoor/platform/fork.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// The memory of the one mutex, which a child made by fork makes anew.
alignas(std::mutex) unsigned char storage[sizeof(std::mutex)];

std::mutex* makeMutex() {
    return ::new (static_cast<void*>(storage)) std::mutex;
}

std::mutex& sharedMutex() {
    static std::mutex* const mutex = [] {
        // In the child no thread exists that could release the mutex. Registered once, with the
        // mutex's first use.
        callAroundFork(nullptr, nullptr, [] { makeMutex(); });
        return makeMutex();
    }();
    return *mutex;
}

}  // namespace

LaunchTurn::LaunchTurn() : lock_(sharedMutex()) {}

}  // namespace quillmoor::platform::linux_::authorization
