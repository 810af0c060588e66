#include "quillmoor/platform/linux/authorization/launch/launch_turn_linux.h"

#include <new>

#include "quillmoor/platform/fork.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// Where the one mutex is, whichever that is at the time.
alignas(std::mutex) unsigned char storage[sizeof(std::mutex)];

std::mutex* makeMutex() {
    return ::new (static_cast<void*>(storage)) std::mutex;
}

std::mutex& sharedMutex() {
    static std::mutex* const mutex = [] {
        // A thread that holds the mutex never releases it in the child.
        callAroundFork(nullptr, nullptr, [] { makeMutex(); });
        return makeMutex();
    }();
    return *mutex;
}

}  // namespace

LaunchTurn::LaunchTurn() : lock_(sharedMutex()) {}

}  // namespace quillmoor::platform::linux_::authorization
