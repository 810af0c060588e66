// Calls of Cocoa, which may raise an NSException. Include it in Objective-C++ only.
#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <type_traits>

#include "quillmoor/platform/exception.h"

namespace quillmoor::platform::macos {

// The exception's name and reason, each "(null)" for nil.
Exception exceptionOf(NSException* exception);

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
