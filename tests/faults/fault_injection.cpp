#include "tests/faults/fault_injection.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <type_traits>

#include "tests/support/call_tables.h"
#include "tests/support/failed_call.h"

namespace quillmoor::test {
namespace {

constexpr std::size_t index(Trouble trouble) {
    return static_cast<std::size_t>(trouble);
}

// Which troubles a call can report.
using Troubles = unsigned;
constexpr Troubles bit(Trouble trouble) {
    return 1U << index(trouble);
}
constexpr Troubles kNone = 0;
constexpr Troubles kBroken = bit(Trouble::InputOutput);
constexpr Troubles kFull = bit(Trouble::DiskFull);
constexpr Troubles kInterrupted = bit(Trouble::Interrupted);
constexpr Troubles kDescriptors = bit(Trouble::NoDescriptors);
constexpr Troubles kMemory = bit(Trouble::NoMemory);

constexpr std::array kErrors{EIO, ENOSPC, EINTR, EMFILE, ENOMEM, ENOMEM};

CallTablesInForce next;
std::atomic<bool> isArmed{false};
bool hasFault = false;
Fault fault{};
std::array<std::atomic<int>, kTroubles.size()> callsOf{};
std::atomic<bool> hasHappened{false};
std::atomic<const char*> firstCall{""};

// Counts a call for one trouble; true when it is to fail with it.
bool hits(Trouble trouble, const char* call) {
    const int number = ++callsOf[index(trouble)];
    if (!hasFault || fault.trouble != trouble) return false;
    const bool fails = fault.lasting == Lasting::Once ? number == fault.nth : number >= fault.nth;
    if (fails && !hasHappened.exchange(true)) firstCall = call;
    return fails;
}

// The error with which the call is to fail; 0 when it is not.
int errorFor(Troubles possible, const char* call) {
    if (!isArmed.load(std::memory_order_acquire)) return 0;
    int error = 0;
    for (const Trouble trouble : kTroubles)
        if ((possible & bit(trouble)) != 0 && hits(trouble, call)) error = kErrors[index(trouble)];
    return error;
}

// What a call can report depends on what it is asked for, in a few cases.
struct OpenAt {};
struct Control {};
struct Wait {};
struct Option {};
struct Transfer {};
Troubles narrowed(Troubles possible, OpenAt, int, const char*, int flags, mode_t) {
    return (flags & O_CREAT) != 0 ? possible : possible & ~kFull;
}
Troubles narrowed(Troubles, Control, int, int command, int) {
    return command == F_DUPFD_CLOEXEC ? kDescriptors : kNone;
}
Troubles narrowed(Troubles possible, Wait, idtype_t, id_t, siginfo_t*, int options) {
    return (options & WNOHANG) != 0 ? kNone : possible;
}
// A descriptor for the peer is what only one option makes.
Troubles narrowed(Troubles possible, Option, int, int, int name, void*, socklen_t*) {
    return name == SO_PEERCRED ? kNone : possible;
}
// There is nothing behind an event descriptor that could break or be full.
Troubles narrowed(Troubles possible, Transfer, int descriptor, const void*, std::size_t) {
    struct stat status {};
    const bool isEvent = ::fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) == 0;
    return isEvent ? possible & kInterrupted : possible;
}

using Calls = SystemCalls;

// A name as a template's argument.
template <std::size_t Size>
struct Name {
    // NOLINTNEXTLINE(google-explicit-constructor): written as a literal
    constexpr Name(const char (&given)[Size]) {
        for (std::size_t at = 0; at < Size; ++at) text[at] = given[at];
    }
    char text[Size]{};
};

template <auto Member, Name kName, Troubles kPossible, typename Narrow, typename Function>
struct Wrapper;
template <auto Member, Name kName, Troubles kPossible, typename Narrow, typename Result,
          typename... Arguments>
struct Wrapper<Member, kName, kPossible, Narrow, Result (*)(Arguments...)> {
    static Result call(Arguments... arguments) {
        Troubles possible = kPossible;
        if constexpr (!std::is_void_v<Narrow>)
            possible = narrowed(kPossible, Narrow{}, arguments...);
        if (const int error = errorFor(possible, kName.text))
            return failedCall<Member, Result>(error, arguments...);
        // The table below may be the test's own guard.
        const NotCounted notCounted;
        return next.get<Member>()(arguments...);
    }
};

std::size_t wrappedCalls = 0;

template <auto Member, Name kName, Troubles kPossible, typename Narrow = void>
void wrap(CallTables& calls) {
    using Function = typename EntryOf<Member>::Function;
    calls.set<Member>(Wrapper<Member, kName, kPossible, Narrow, Function>::call);
    ++wrappedCalls;
}

void wrapFileCalls(CallTables& calls) {
    wrap<&Calls::openat, "openat", kBroken | kFull | kInterrupted | kDescriptors | kMemory, OpenAt>(
        calls);
    wrap<&Calls::read, "read", kBroken | kInterrupted | kMemory, Transfer>(calls);
    wrap<&Calls::write, "write", kBroken | kFull | kInterrupted, Transfer>(calls);
    wrap<&Calls::pread, "pread", kBroken | kInterrupted | kMemory>(calls);
    wrap<&Calls::pwrite, "pwrite", kBroken | kFull | kInterrupted>(calls);
    wrap<&Calls::lseek, "lseek", kBroken>(calls);
    wrap<&Calls::ftruncate, "ftruncate", kBroken | kFull | kInterrupted>(calls);
    wrap<&Calls::close, "close", kBroken | kFull | kInterrupted>(calls);
    wrap<&Calls::fcntl, "fcntl", kDescriptors, Control>(calls);
    wrap<&Calls::fstat, "fstat", kBroken | kMemory>(calls);
    wrap<&Calls::fstatat, "fstatat", kBroken | kMemory>(calls);
    wrap<&Calls::flock, "flock", kInterrupted | kMemory>(calls);
    wrap<&LinuxCalls::statx, "statx", kBroken | kMemory>(calls);
    wrap<&Calls::faccessat, "faccessat", kBroken | kMemory>(calls);
    wrap<&Calls::readlinkat, "readlinkat", kBroken | kMemory>(calls);
    wrap<&Calls::realpath, "realpath", kBroken | kMemory>(calls);
    wrap<&Calls::fdopendir, "fdopendir", kMemory>(calls);
    wrap<&Calls::readdir, "readdir", kBroken>(calls);
    wrap<&Calls::mmap, "mmap", kMemory>(calls);
    wrap<&LinuxCalls::mremap, "mremap", kMemory>(calls);
    wrap<&Calls::reserveSpace, "reserveSpace", kBroken | kFull | kInterrupted>(calls);
}

void wrapNameCalls(CallTables& calls) {
    wrap<&Calls::mkdtemp, "mkdtemp", kBroken | kFull | kMemory>(calls);
    wrap<&Calls::mkdirat, "mkdirat", kBroken | kFull | kMemory>(calls);
    wrap<&Calls::mkfifoat, "mkfifoat", kBroken | kFull | kMemory>(calls);
    wrap<&Calls::symlinkat, "symlinkat", kBroken | kFull | kMemory>(calls);
    wrap<&Calls::linkat, "linkat", kBroken | kFull | kMemory>(calls);
    wrap<&Calls::unlinkat, "unlinkat", kBroken | kMemory>(calls);
    wrap<&Calls::renameat, "renameat", kBroken | kFull | kMemory>(calls);
    wrap<&Calls::renameNoReplace, "renameNoReplace", kBroken | kFull | kMemory>(calls);
}

void wrapAttributeCalls(CallTables& calls) {
    wrap<&Calls::fchmod, "fchmod", kBroken>(calls);
    wrap<&Calls::fchmodat, "fchmodat", kBroken | kMemory>(calls);
    wrap<&Calls::fchown, "fchown", kBroken>(calls);
    wrap<&Calls::fchownat, "fchownat", kBroken | kMemory>(calls);
    wrap<&Calls::futimens, "futimens", kBroken>(calls);
    wrap<&Calls::utimensat, "utimensat", kBroken | kMemory>(calls);
    wrap<&Calls::openBeneath, "openBeneath", kBroken | kInterrupted | kDescriptors | kMemory>(
        calls);
    wrap<&Calls::cloneFile, "cloneFile", kBroken | kFull | kInterrupted>(calls);
    wrap<&Calls::flistxattr, "flistxattr", kBroken | kMemory>(calls);
    wrap<&Calls::fgetxattr, "fgetxattr", kBroken | kMemory>(calls);
    wrap<&Calls::fsetxattr, "fsetxattr", kBroken | kFull | kMemory>(calls);
    wrap<&LinuxCalls::isHfsPlus, "isHfsPlus", kBroken | kInterrupted | kMemory>(calls);
    wrap<&Calls::getRemovalTraits, "getRemovalTraits", kBroken | kMemory>(calls);
    wrap<&LinuxCalls::isImmutable, "isImmutable", kBroken | kMemory>(calls);
    wrap<&LinuxCalls::getItemFlags, "getItemFlags", kBroken>(calls);
    wrap<&LinuxCalls::setItemFlags, "setItemFlags", kBroken>(calls);
}

void wrapProcessCalls(CallTables& calls) {
    wrap<&Calls::pipe, "pipe", kDescriptors | kMemory>(calls);
    wrap<&Calls::poll, "poll", kInterrupted | kMemory>(calls);
    wrap<&Calls::wakePair, "wakePair", kDescriptors | kMemory>(calls);
    wrap<&Calls::posix_spawn, "posix_spawn", kBroken | kDescriptors | kMemory>(calls);
    wrap<&Calls::pthread_create, "pthread_create", kMemory>(calls);
    wrap<&Calls::waitid, "waitid", kInterrupted, Wait>(calls);
    wrap<&Calls::kill, "kill", kNone>(calls);
    wrap<&LinuxCalls::pidfd_open, "pidfd_open", kDescriptors | kMemory>(calls);
    wrap<&LinuxCalls::pidfd_send_signal, "pidfd_send_signal", kNone>(calls);
    wrap<&LinuxCalls::getrandom, "getrandom", kInterrupted>(calls);
}

void wrapSocketCalls(CallTables& calls) {
    wrap<&Calls::socket, "socket", kDescriptors | kMemory>(calls);
    wrap<&Calls::socketpair, "socketpair", kDescriptors | kMemory>(calls);
    wrap<&Calls::bind, "bind", kBroken | kFull | kMemory>(calls);
    wrap<&Calls::listen, "listen", kNone>(calls);
    wrap<&LinuxCalls::accept4, "accept4", kInterrupted | kDescriptors | kMemory>(calls);
    wrap<&Calls::getsockopt, "getsockopt", kDescriptors, Option>(calls);
    wrap<&Calls::sendmsg, "sendmsg", kInterrupted | kMemory>(calls);
    wrap<&Calls::send, "send", kInterrupted | kMemory>(calls);
    wrap<&Calls::recv, "recv", kInterrupted | kMemory>(calls);
    wrap<&Calls::recvmsg, "recvmsg", kInterrupted | kMemory>(calls);
}

CallTables wrapped() {
    CallTables calls;
    wrapFileCalls(calls);
    wrapNameCalls(calls);
    wrapAttributeCalls(calls);
    wrapProcessCalls(calls);
    wrapSocketCalls(calls);
    // A new entry of the tables has its errors listed above.
    if (wrappedCalls != kCallCount) std::abort();
    return calls;
}

const CallTables failingCalls = wrapped();

bool allocationFails() {
    return hits(Trouble::NoAllocation, "operator new");
}

}  // namespace

const char* nameOf(Trouble trouble) {
    constexpr std::array kNames{"EIO", "ENOSPC", "EINTR", "EMFILE", "ENOMEM", "bad_alloc"};
    return kNames[index(trouble)];
}

std::string describe(const Fault& one) {
    return std::string(nameOf(one.trouble)) +
           (one.lasting == Lasting::Once ? " once" : " from then on") + ", call " +
           std::to_string(one.nth);
}

FaultInjection::FaultInjection(const std::optional<Fault>& wanted) {
    hasFault = wanted.has_value();
    if (wanted) fault = *wanted;
    for (std::atomic<int>& calls : callsOf) calls = 0;
    hasHappened = false;
    firstCall = "";
    next = exchangeCallTables({&failingCalls.shared, &failingCalls.own});
    isArmed.store(true, std::memory_order_release);
    setAllocationFails(allocationFails);
}

// The table stays: a thread of the operation's may be inside a call.
FaultInjection::~FaultInjection() {
    setAllocationFails(nullptr);
    isArmed.store(false, std::memory_order_release);
    exchangeCallTables(next);
}

bool FaultInjection::happened() {
    return hasHappened;
}

const char* FaultInjection::call() {
    return firstCall;
}

CallCounts FaultInjection::counts() {
    CallCounts result{};
    for (std::size_t at = 0; at < result.size(); ++at) result[at] = callsOf[at];
    return result;
}

}  // namespace quillmoor::test
