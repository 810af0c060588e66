#include "tests/platform/support/failing_calls.h"

#include <atomic>

#include "tests/support/call_tables.h"
#include "tests/support/failed_call.h"
#include "tests/support/failing_allocations.h"

namespace quillmoor::test {
namespace {

// Which of many fails.
struct Plan {
    std::atomic<int> count{0};
    int nth = 0;
    Failing howOften = Failing::Once;

    void start(int wanted, Failing failing) {
        count = 0;
        nth = wanted;
        howOften = failing;
    }
    bool isToFail() {
        const int number = ++count;
        return howOften == Failing::Once ? number == nth : number >= nth;
    }
    bool happened() const { return count >= nth; }
};

CallTablesInForce next;
Plan calls;
int failingError = 0;
Plan allocations;

template <auto Member, typename Function>
struct Wrapper;
template <auto Member, typename Result, typename... Arguments>
struct Wrapper<Member, Result (*)(Arguments...)> {
    static Result call(Arguments... arguments) {
        if (calls.isToFail()) return failedCall<Member, Result>(failingError, arguments...);
        // The table below may be the test's own guard.
        const NotCounted notCounted;
        return next.get<Member>()(arguments...);
    }
};

template <auto... Members>
CallTables wrapped() {
    static_assert(kCallCount == sizeof...(Members), "one is missing");
    CallTables tables;
    (tables.set<Members>(Wrapper<Members, typename EntryOf<Members>::Function>::call), ...);
    return tables;
}

using Calls = SystemCalls;
const CallTables failingCalls = wrapped<
    &Calls::openat, &Calls::read, &Calls::write, &Calls::lseek, &Calls::ftruncate, &Calls::fstat,
    &Calls::fstatat, &Calls::faccessat, &Calls::readlinkat, &Calls::fdopendir, &Calls::readdir,
    &Calls::mkdirat, &Calls::mkfifoat, &Calls::symlinkat, &Calls::linkat, &Calls::unlinkat,
    &Calls::renameat, &Calls::renameNoReplace, &Calls::fchmod, &Calls::fchmodat, &Calls::fchown,
    &Calls::fchownat, &Calls::futimens, &Calls::utimensat, &Calls::cloneFile, &Calls::flistxattr,
    &Calls::fgetxattr, &Calls::fsetxattr, &LinuxCalls::isHfsPlus, &LinuxCalls::isImmutable,
    &Calls::getRemovalTraits, &LinuxCalls::getItemFlags, &LinuxCalls::setItemFlags, &Calls::close,
    &Calls::fcntl, &Calls::realpath, &Calls::mkdtemp, &Calls::pipe, &Calls::poll, &Calls::socket,
    &Calls::socketpair, &Calls::bind, &Calls::listen, &Calls::getsockopt, &Calls::sendmsg,
    &Calls::send, &Calls::recv, &Calls::posix_spawn, &Calls::pthread_create, &Calls::waitid,
    &Calls::kill, &Calls::mmap, &Calls::reserveSpace, &Calls::wakePair, &LinuxCalls::accept4,
    &LinuxCalls::pidfd_open, &LinuxCalls::pidfd_send_signal, &LinuxCalls::mremap,
    &LinuxCalls::getrandom, &Calls::flock, &LinuxCalls::statx, &Calls::recvmsg, &Calls::pread,
    &Calls::pwrite, &Calls::openBeneath>();

}  // namespace

FailingCalls::FailingCalls(int nth, int error, Failing failing) {
    calls.start(nth, failing);
    failingError = error;
    next = exchangeCallTables({&failingCalls.shared, &failingCalls.own});
}

FailingCalls::~FailingCalls() {
    exchangeCallTables(next);
}

bool FailingCalls::happened() const {
    return calls.happened();
}

FailingAllocations::FailingAllocations(int nth, Failing failing) {
    allocations.start(nth, failing);
    setAllocationFails([] { return allocations.isToFail(); });
}

FailingAllocations::~FailingAllocations() {
    setAllocationFails(nullptr);
}

bool FailingAllocations::happened() const {
    return allocations.happened();
}

}  // namespace quillmoor::test
