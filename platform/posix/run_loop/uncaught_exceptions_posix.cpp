#include "quillmoor/platform/uncaught_exceptions.h"

#include <cxxabi.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <typeinfo>

#include "quillmoor/platform/fork.h"
#include "quillmoor/platform/posix/run_loop/system_exceptions_posix.h"

namespace quillmoor::platform {
namespace {

std::atomic<UncaughtExceptionHandler> handlerSlot{nullptr};
std::terminate_handler previousTerminate = nullptr;

// The handler has been called, and by which thread.
constinit std::atomic<bool> isReported{false};
thread_local bool isReporter = false;

// null for the exception of another language.
const char* currentExceptionTypeName() {
    const std::type_info* type = abi::__cxa_current_exception_type();
    return type != nullptr ? type->name() : nullptr;
}

std::string readableTypeName() {
    const char* const name = currentExceptionTypeName();
    if (name == nullptr) return "unknown";
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return status == 0 ? readable.get() : name;
}

[[noreturn]] void waitForTheEnd() {
    while (true) std::this_thread::sleep_for(std::chrono::hours(1));
}

// Another thread that terminates meanwhile must not end the process before the handler has
// returned.
void waitForTheReporter() {
    if (isReported && !isReporter) waitForTheEnd();
}

// An exception that escapes from the handler itself leads here again and is not reported.
void report(const Exception* exception) {
    const UncaughtExceptionHandler handler = handlerSlot.load();
    if (handler != nullptr && !isReported.exchange(true)) {
        isReporter = true;
        handler(exception);
    }
}

void reportOfSystem(const Exception* exception) {
    report(exception);
    waitForTheReporter();
}

// An exception of the system's own is reported by the terminate handler that was there before.
void onTerminate() {
    if (std::current_exception() && !posix::isCurrentExceptionOfSystem()) {
        const Exception exception = currentException();
        report(&exception);
    }
    waitForTheReporter();
    if (previousTerminate != nullptr) previousTerminate();
    std::abort();
}

// Only the forking thread exists in the child: where another one was reporting, a wait for it would
// never end.
void onForkInChild() {
    isReported = isReporter;
}

}  // namespace

namespace posix {

bool isCurrentExceptionOfSystem() noexcept {
    const char* const type = currentExceptionTypeName();
    return type != nullptr && isSystemException(type);
}

}  // namespace posix

Exception currentException() {
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const Exception& exception) {
        return exception;
    } catch (const std::exception& exception) {
        return {readableTypeName(), exception.what()};
    } catch (...) {
        const std::string name = readableTypeName();
        return {name, name};
    }
}

void setUncaughtExceptionHandler(UncaughtExceptionHandler handler) {
    handlerSlot.store(handler);
    static const bool installed = [] {
        callAroundFork(nullptr, nullptr, onForkInChild);
        previousTerminate = std::set_terminate(onTerminate);
        posix::observeSystemExceptions(reportOfSystem);
        return true;
    }();
    static_cast<void>(installed);
}

UncaughtExceptionHandler uncaughtExceptionHandlerInForce() {
    return handlerSlot.load();
}

}  // namespace quillmoor::platform
