#include "quillmoor/platform/posix/run_loop/host_services_posix.h"

#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform::posix {

void attachHost(const HostServices& host) {
    setMainThreadTest(host.isMainThread);
    setNextEventOfHost(host.sendNextEvent);
    leaveTerminationToHost();
    host.observeTermination(callTerminationObservers);
    for (const RunLoopMode mode : {RunLoopMode::ModalPanel, RunLoopMode::Default})
        host.watch(MainRunLoop::descriptor(mode), [mode] { MainRunLoop::drain(mode); });
}

}  // namespace quillmoor::platform::posix
