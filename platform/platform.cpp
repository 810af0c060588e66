#include "quillmoor/platform/platform.h"

#include <atomic>

#include "quillmoor/platform/native_services.h"
#ifdef KX_TRACE
#include "quillmoor/platform/trace.h"
#endif

namespace quillmoor::platform {
namespace {

// Null means native(), so that a program's first call needs no initialization order.
std::atomic<const Platform*> inUse{nullptr};

#ifndef KX_TRACE
const Platform& traced(const Platform& services) {
    return services;
}
#endif

}  // namespace

const Platform& native() {
    static const Platform services =
        traced({nativeProcessInfo(), nativeLocations(), nativeFileManager(), nativeAttributes(),
                nativeFileTree(), nativeFileOperations(), nativeFileHandles(), nativeTasks(),
                nativeMainThread(), nativeBundles(), nativePropertyLists(), nativeApplications(),
                nativeTrash(), nativeToolPaths(), nativeFinderInfo(), nativeAuthorization(),
                nativeText(), nativeConsole(), nativeClock()});
    return services;
}

const Platform& current() {
    const Platform* platform = inUse.load(std::memory_order_acquire);
    return platform != nullptr ? *platform : native();
}

const Platform* exchange(const Platform* platform) {
    return inUse.exchange(platform, std::memory_order_acq_rel);
}

}  // namespace quillmoor::platform
