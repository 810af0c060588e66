#include "objc/firewall.h"

#include <exception>

#include "quillmoor/platform/uncaught_exceptions.h"

namespace quillmoor::objc {

std::optional<platform::Exception> exceptionFrom(const std::function<void()>& body) {
    try {
        body();
        return std::nullopt;
    } catch (...) {
        // One that is not of C++ cannot be referred to.
        if (std::current_exception() == nullptr) throw;
        return platform::currentException();
    }
}

}  // namespace quillmoor::objc
