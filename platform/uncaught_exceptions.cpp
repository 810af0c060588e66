#include "platform/uncaught_exceptions.h"

#include <cxxabi.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <typeinfo>

namespace quillmoor::platform {
namespace {

std::atomic<UncaughtExceptionHandler> handlerSlot{nullptr};
std::terminate_handler previousTerminate = nullptr;

std::string currentExceptionTypeName() {
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (type == nullptr) return "unknown";
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), &std::free);
    return status == 0 ? readable.get() : type->name();
}

// Whatever the handler itself lets escape ends up here again and is not reported.
void onTerminate() {
    static std::atomic_flag reported;
    const UncaughtExceptionHandler handler = handlerSlot.load();
    if (handler != nullptr && std::current_exception() && !reported.test_and_set())
        handler(currentException());
    if (previousTerminate != nullptr) previousTerminate();
    std::abort();
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
        previousTerminate = std::set_terminate(onTerminate);
        return true;
    }();
    static_cast<void>(installed);
}

UncaughtExceptionHandler uncaughtExceptionHandlerInForce() {
    return handlerSlot.load();
}

}  // namespace quillmoor::platform
