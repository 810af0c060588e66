#include "platform/posix/host_services_posix.h"

#include "platform/main_run_loop.h"
#include "platform/posix/main_thread_posix.h"

namespace quillmoor::platform::posix {

void attachHost(const HostServices& host) {
    setMainThreadTest(host.isMainThread);
    leaveTerminationToHost();
    host.observeTermination(callTerminationObservers);
    host.watch(MainRunLoop::descriptor(RunLoopMode::Default),
               [] { MainRunLoop::drain(RunLoopMode::Default); });
}

}  // namespace quillmoor::platform::posix
