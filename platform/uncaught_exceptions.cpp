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

namespace quillmoor::platform {
namespace {

std::atomic<UncaughtExceptionHandler> handlerSlot{nullptr};
std::terminate_handler previousTerminate = nullptr;

// The handler has been called, and by which thread.
constinit std::atomic<bool> isReported{false};
thread_local bool isReporter = false;

std::string currentExceptionTypeName() {
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (type == nullptr) return "unknown";
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), &std::free);
    return status == 0 ? readable.get() : type->name();
}

[[noreturn]] void waitForTheEnd() {
    while (true) std::this_thread::sleep_for(std::chrono::hours(1));
}

// An exception that escapes from the handler itself leads here again and is not reported. Another
// thread that terminates meanwhile must not end the process before the handler has returned.
void onTerminate() {
    const UncaughtExceptionHandler handler = handlerSlot.load();
    if (handler != nullptr && std::current_exception() && !isReported.exchange(true)) {
        isReporter = true;
        handler(currentException());
    }
    if (isReported && !isReporter) waitForTheEnd();
    if (previousTerminate != nullptr) previousTerminate();
    std::abort();
}

// Only the forking thread exists in the child: where another one was reporting, a wait for it would
// never end.
void onForkInChild() {
    isReported = isReporter;
}

}  // namespace

Exception currentException() {
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const Exception& exception) {
        return exception;
    } catch (const std::exception& exception) {
        return {currentExceptionTypeName(), exception.what()};
    } catch (...) {
        const std::string name = currentExceptionTypeName();
        return {name, name};
    }
}

void setUncaughtExceptionHandler(UncaughtExceptionHandler handler) {
    handlerSlot.store(handler);
    static const bool installed = [] {
        callAroundFork(nullptr, nullptr, onForkInChild);
        previousTerminate = std::set_terminate(onTerminate);
        return true;
    }();
    static_cast<void>(installed);
}

UncaughtExceptionHandler uncaughtExceptionHandlerInForce() {
    return handlerSlot.load();
}

}  // namespace quillmoor::platform
