#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/trace/traced_call_posix.h"
#include "quillmoor/platform/posix/trace/traced_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

using Calls = linux_::LinuxCalls;

}  // namespace

void traceOwnCalls(const TraceAreas& areas) {
    // Static, since it must outlive every call that is made through it.
    static Calls traced;
    // Before the traced table is in use, since its entries call through this one.
    callsBelow<Calls> = &linux_::linuxCalls();
    traced = linux_::linuxCalls();
    if (areas.files) {
        trace<&Calls::statx, "statx", FileCall, Item, Flags, Flags, Hidden>(traced);
        trace<&Calls::isHfsPlus, "isHfsPlus", FileCall, Number, Hidden>(traced);
        trace<&Calls::isImmutable, "isImmutable", FileCall, Item, Hidden>(traced);
        trace<&Calls::getItemFlags, "getItemFlags", FileCall, Number, Hidden>(traced);
        trace<&Calls::setItemFlags, "setItemFlags", FileCall, Number, Flags>(traced);
    }
    if (areas.process) {
        trace<&Calls::pidfd_open, "pidfd_open", ProcessCall, Number, Flags>(traced);
        trace<&Calls::pidfd_send_signal, "pidfd_send_signal", ProcessCall, Number, Number, Hidden,
              Flags>(traced);
    }
    linux_::exchangeLinuxCalls(&traced);
}

}  // namespace quillmoor::platform::posix
