// Calls of Cocoa, which may raise an NSException.
#pragma once

#include <functional>
#include <type_traits>

namespace quillmoor::platform::macos {

// Calls `body` in an autorelease pool. An NSException that it raises is thrown as an Exception with
// the same name and reason, once Objective-C has been left: clauses of C++ find neither in it, and
// need not catch it at all. A C++ exception passes.
void callCocoa(const std::function<void()>& body);

// The same with the result of `body`, a C++ value.
template <typename Body>
auto fromCocoa(const Body& body) {
    std::invoke_result_t<Body> result{};
    callCocoa([&] { result = body(); });
    return result;
}

}  // namespace quillmoor::platform::macos
