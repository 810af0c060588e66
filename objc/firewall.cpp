#include "objc/firewall.h"

#include <exception>

#include "quillmoor/platform/uncaught_exceptions.h"

namespace quillmoor::objc {

std::optional<platform::Exception> thrownBy(const std::function<void()>& body) {
    try {
        body();
        return std::nullopt;
    } catch (...) {
        // The end of a thread that is cancelled, which must go on.
        if (std::current_exception() == nullptr) throw;
        return platform::currentException();
    }
}

}  // namespace quillmoor::objc
