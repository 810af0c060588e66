#include "quillmoor/platform/posix/ground/thread_posix.h"

#include <exception>
#include <memory>
#include <system_error>
#include <utility>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// noexcept: an exception of the body is uncaught, as in std::thread.
void* run(void* given) noexcept {
    const std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(given));
    (*body)();
    return nullptr;
}

}  // namespace

Thread::Thread(std::function<void()> body) {
    auto given = std::make_unique<std::function<void()>>(std::move(body));
    pthread_t handle{};
    // Not std::thread, which calls pthread_create directly: a test could not make it fail.
    const int error = systemCalls().pthread_create(&handle, nullptr, run, given.get());
    if (error != 0) throw std::system_error(error, std::generic_category());
    static_cast<void>(given.release());  // the thread owns it now
    handle_ = handle;
}

Thread::Thread(Thread&& other) noexcept : handle_(std::exchange(other.handle_, std::nullopt)) {}

Thread& Thread::operator=(Thread&& other) noexcept {
    if (joinable()) std::terminate();
    handle_ = std::exchange(other.handle_, std::nullopt);
    return *this;
}

Thread::~Thread() {
    if (joinable()) std::terminate();
}

void Thread::join() {
    ::pthread_join(*std::exchange(handle_, std::nullopt), nullptr);
}

void Thread::detach() {
    ::pthread_detach(*std::exchange(handle_, std::nullopt));
}

}  // namespace quillmoor::platform::posix
