#include "tests/platform/files/failing_calls.h"

#include <atomic>
#include <type_traits>

#include "platform/posix/system_calls_posix.h"
#include "tests/support/failed_call.h"

namespace quillmoor::test {
namespace {

using platform::posix::SystemCalls;

const SystemCalls* next = nullptr;
std::atomic<int> count{0};
int failingCall = 0;
int failingError = 0;
Failing howOften = Failing::Once;

bool isToFail() {
    const int number = ++count;
    return howOften == Failing::Once ? number == failingCall : number >= failingCall;
}

template <auto Member, typename Function>
struct Wrapper;
template <auto Member, typename Result, typename... Arguments>
struct Wrapper<Member, Result (*)(Arguments...)> {
    static Result call(Arguments... arguments) {
        if (!isToFail()) return (next->*Member)(arguments...);
        return failedCall<Member, Result>(failingError, arguments...);
    }
};

template <auto Member>
void wrap(SystemCalls& calls) {
    using Function = std::remove_reference_t<decltype(calls.*Member)>;
    calls.*Member = Wrapper<Member, Function>::call;
}

template <auto... Members>
SystemCalls wrapped() {
    static_assert(sizeof(SystemCalls) == sizeof...(Members) * sizeof(void*), "one is missing");
    SystemCalls calls{};
    (wrap<Members>(calls), ...);
    return calls;
}

using Calls = SystemCalls;
const SystemCalls failingCalls = wrapped<
    &Calls::openat, &Calls::read, &Calls::write, &Calls::lseek, &Calls::ftruncate, &Calls::fstat,
    &Calls::fstatat, &Calls::faccessat, &Calls::readlinkat, &Calls::fdopendir, &Calls::readdir,
    &Calls::mkdirat, &Calls::mkfifoat, &Calls::symlinkat, &Calls::linkat, &Calls::unlinkat,
    &Calls::renameat, &Calls::renameNoReplace, &Calls::fchmod, &Calls::fchmodat, &Calls::fchown,
    &Calls::fchownat, &Calls::futimens, &Calls::utimensat, &Calls::cloneFile, &Calls::flistxattr,
    &Calls::fgetxattr, &Calls::fsetxattr, &Calls::isHfsPlus, &Calls::isImmutable,
    &Calls::getRemovalTraits, &Calls::getItemFlags, &Calls::setItemFlags, &Calls::close,
    &Calls::fcntl, &Calls::realpath, &Calls::mkdtemp, &Calls::pipe, &Calls::poll, &Calls::socket,
    &Calls::socketpair, &Calls::bind, &Calls::listen, &Calls::getsockopt, &Calls::sendmsg,
    &Calls::send, &Calls::recv, &Calls::posix_spawn, &Calls::pthread_create, &Calls::waitid,
    &Calls::kill, &Calls::mmap, &Calls::fallocate, &Calls::eventfd, &Calls::accept4,
    &Calls::pidfd_open, &Calls::pidfd_send_signal, &Calls::mremap, &Calls::getrandom>();

}  // namespace

FailingCalls::FailingCalls(int nth, int error, Failing failing) {
    count = 0;
    failingCall = nth;
    failingError = error;
    howOften = failing;
    next = platform::posix::exchangeSystemCalls(&failingCalls);
}

FailingCalls::~FailingCalls() {
    platform::posix::exchangeSystemCalls(next);
}

bool FailingCalls::happened() const {
    return count >= failingCall;
}

}  // namespace quillmoor::test
