#include "quillmoor/platform/macos/ground/late_call_macos.h"

#include <dlfcn.h>

#include <atomic>

namespace quillmoor::platform::macos {
namespace {

void* findLoaded(const char* name) {
    return ::dlsym(RTLD_DEFAULT, name);
}

constinit std::atomic<CallFinder> finderInUse{&findLoaded};

}  // namespace

void* findCall(const char* name) {
    return finderInUse.load(std::memory_order_acquire)(name);
}

CallFinder exchangeCallFinder(CallFinder finder) {
    return finderInUse.exchange(finder != nullptr ? finder : &findLoaded,
                                std::memory_order_acq_rel);
}

}  // namespace quillmoor::platform::macos
