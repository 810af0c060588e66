#include "quillmoor/platform/platform.h"

#include <atomic>

#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace {

std::atomic<const Platform*> inForce{nullptr};

}  // namespace

const Platform& native() {
    static const Platform services{
        nativeProcessInfo(), nativeLocations(),      nativeFileManager(),   nativeAttributes(),
        nativeFileTree(),    nativeFileOperations(), nativeFileHandles(),   nativeTasks(),
        nativeMainThread(),  nativeBundles(),        nativePropertyLists(), nativeApplications(),
        nativeTrash(),       nativeToolPaths(),      nativeFinderInfo(),    nativeAuthorization(),
        nativeText(),        nativeConsole(),        nativeClock()};
    return services;
}

const Platform& current() {
    const Platform* platform = inForce.load(std::memory_order_acquire);
    return platform != nullptr ? *platform : native();
}

const Platform* exchange(const Platform* platform) {
    return inForce.exchange(platform, std::memory_order_acq_rel);
}

}  // namespace quillmoor::platform
