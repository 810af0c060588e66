#include "quillmoor/platform/posix/trace/traced_calls_posix.h"

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/trace/traced_call_posix.h"

namespace quillmoor::platform::posix {
namespace {

using Calls = SystemCalls;

void traceOpenFiles(Calls& calls) {
    trace<&Calls::openat, "openat", FileCall, Item, Flags, Mode>(calls);
    trace<&Calls::read, "read", FileTransfer, Number, Hidden, Number>(calls);
    trace<&Calls::write, "write", FileTransfer, Number, Hidden, Number>(calls);
    trace<&Calls::pread, "pread", FileTransfer, Number, Hidden, Number, Number>(calls);
    trace<&Calls::pwrite, "pwrite", FileTransfer, Number, Hidden, Number, Number>(calls);
    trace<&Calls::lseek, "lseek", FileCall, Number, Number, Number>(calls);
    trace<&Calls::ftruncate, "ftruncate", FileCall, Number, Number>(calls);
    trace<&Calls::close, "close", FileCall, Number>(calls);
    trace<&Calls::fcntl, "fcntl", FileCall, Number, Number, Number>(calls);
    trace<&Calls::fstat, "fstat", FileCall, Number, Hidden>(calls);
    trace<&Calls::flock, "flock", FileCall, Number, Number>(calls);
    trace<&Calls::fdopendir, "fdopendir", FileCall, Number>(calls);
    trace<&Calls::readdir, "readdir", FileCall, Hidden>(calls);
    trace<&Calls::fchmod, "fchmod", FileCall, Number, Mode>(calls);
    trace<&Calls::fchown, "fchown", FileCall, Number, Number, Number>(calls);
    trace<&Calls::futimens, "futimens", FileCall, Number, Hidden>(calls);
    trace<&Calls::reserveSpace, "reserveSpace", FileCall, Number, Number>(calls);
    trace<&Calls::flistxattr, "flistxattr", FileCall, Number, Hidden, Number>(calls);
    trace<&Calls::fgetxattr, "fgetxattr", FileCall, Number, String, Hidden, Number>(calls);
    trace<&Calls::fsetxattr, "fsetxattr", FileCall, Number, String, Hidden, Number>(calls);
}

void traceNames(Calls& calls) {
    trace<&Calls::fstatat, "fstatat", FileCall, Item, Hidden, Flags>(calls);
    trace<&Calls::faccessat, "faccessat", FileCall, Item, Mode, Flags>(calls);
    trace<&Calls::readlinkat, "readlinkat", FileCall, Item, Hidden, Number>(calls);
    trace<&Calls::realpath, "realpath", FileCall, String, Hidden>(calls);
    trace<&Calls::mkdtemp, "mkdtemp", FileCall, String>(calls);
    trace<&Calls::mkdirat, "mkdirat", FileCall, Item, Mode>(calls);
    trace<&Calls::mkfifoat, "mkfifoat", FileCall, Item, Mode>(calls);
    trace<&Calls::symlinkat, "symlinkat", FileCall, String, Item>(calls);
    trace<&Calls::linkat, "linkat", FileCall, Item, Item, Flags>(calls);
    trace<&Calls::unlinkat, "unlinkat", FileCall, Item, Flags>(calls);
    trace<&Calls::renameat, "renameat", FileCall, Item, Item>(calls);
    trace<&Calls::renameNoReplace, "renameNoReplace", FileCall, Item, Item>(calls);
    trace<&Calls::fchmodat, "fchmodat", FileCall, Item, Mode, Flags>(calls);
    trace<&Calls::fchownat, "fchownat", FileCall, Item, Number, Number, Flags>(calls);
    trace<&Calls::utimensat, "utimensat", FileCall, Item, Hidden, Flags>(calls);
    trace<&Calls::openBeneath, "openBeneath", FileCall, Item>(calls);
    trace<&Calls::cloneFile, "cloneFile", FileCall, Number, Item, Hidden>(calls);
    trace<&Calls::getRemovalTraits, "getRemovalTraits", FileCall, Item, Hidden>(calls);
}

// Of the arguments their number alone is shown: some are secrets.
int tracedSpawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[],
                char* const environment[]) {
    TraceLine line(kTraceProcess, "posix_spawn");
    String::put(line, path);
    std::int64_t count = 0;
    while (arguments[count] != nullptr) ++count;
    // Without the program's own name.
    Number::put(line, count - 1);
    line.add(" arguments");
    line.beginCall();
    const int error =
        callsBelow<Calls>->posix_spawn(child, path, actions, attributes, arguments, environment);
    line.endCall();
    line.addNumber(error);
    if (error != 0) {
        line.addError(error);
    } else {
        line.add(", child ");
        line.addNumber(*child);
    }
    line.end();
    return error;
}

int tracedWait(idtype_t kind, id_t child, siginfo_t* info, int options) {
    TraceLine line(kTraceProcess, "waitid");
    Number::put(line, kind);
    Number::put(line, child);
    Flags::put(line, options);
    line.beginCall();
    const int result = callsBelow<Calls>->waitid(kind, child, info, options);
    const int error = errno;
    line.endCall();
    putResult(line, result, error);
    // Without a process id the child still runs: waitid(2) succeeds all the same.
    if (result == 0 && info->si_pid != 0) {
        line.add(", child ");
        line.addNumber(info->si_pid);
        line.add(info->si_code == CLD_EXITED ? " exited " : " signal ");
        line.addNumber(info->si_status);
    }
    line.end();
    errno = error;
    return result;
}

}  // namespace

void traceSystemCalls(const TraceAreas& areas) {
    // Static, since it must outlive every call that is made through it.
    static Calls traced;
    // Before the traced table is in use, since its entries call through this one. A table that a
    // test has put in stays below.
    callsBelow<Calls> = &systemCalls();
    traced = systemCalls();
    if (areas.files) {
        traceOpenFiles(traced);
        traceNames(traced);
    }
    if (areas.process) {
        traced.posix_spawn = tracedSpawn;
        traced.waitid = tracedWait;
        trace<&Calls::kill, "kill", ProcessCall, Number, Number>(traced);
    }
    exchangeSystemCalls(&traced);
}

}  // namespace quillmoor::platform::posix
