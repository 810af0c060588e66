// Translation between the types of Foundation and those of the library.
//
//   return guarded(__func__, NO, [&] { return KXFileManager::removeFile(toString(path)); });
//
// Objects that are returned are autoreleased. The functions that return C++ values throw
// std::bad_alloc, and are called inside the functions of the last section.
#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "objc/firewall.h"
#include "quillmoor/base/data.h"
#include "quillmoor/base/types.h"
#include "quillmoor/platform/exception.h"

namespace quillmoor::objc {

// Text ------------------------------------------------------------------------------------------

// UTF-8; nil for nil. Half a surrogate pair becomes three bytes that are not valid UTF-8, so that
// it equals no other text.
OptionalString toString(NSString* text);

// nil for nil, and for bytes that are not valid UTF-8.
NSString* fromString(std::string_view text);
NSString* fromString(const OptionalString& text);

// Lists -----------------------------------------------------------------------------------------

// What is not valid UTF-8 is left out.
NSMutableArray* fromList(const StringList& list);

// nil for nil. Throw platform::Exception named kInvalidArgumentException for an element that is not
// a string: a tool must not be started with another list of arguments than was meant.
OptionalArguments toArguments(NSArray* list);
OptionalEnvironment toEnvironment(NSDictionary* environment);

// Bytes -----------------------------------------------------------------------------------------

// Shares the bytes. nil for nil.
NSData* fromData(const std::optional<Data>& data);
// Empty for nil.
Data toData(NSData* data);

// Flags -----------------------------------------------------------------------------------------

template <typename Flag>
Flag flag(BOOL isSet) {
    return isSet ? Flag::Yes : Flag::No;
}

// Objects and exceptions ------------------------------------------------------------------------

// Retained until the last copy is released; null for nil.
std::shared_ptr<void> toObject(id object);
id fromObject(const std::shared_ptr<void>& object);

// A name or a reason that is nil is "(null)".
platform::Exception toException(NSException* exception);
NSException* fromException(const platform::Exception& exception);

// Calls `body`, inside an autorelease pool, and throws an NSException that it raises as
// platform::Exception, like any C++ exception. For calls of a caller's object by the library.
void throwing(const std::function<void()>& body);

// Calls -----------------------------------------------------------------------------------------

// The result of `body`. A C++ exception is raised as an NSException, once all C++ functions have
// been left.
template <typename Body>
auto raising(const Body& body) {
    using Result = std::invoke_result_t<Body>;
    std::conditional_t<std::is_void_v<Result>, char, Result> result{};
    NSException* raised = nil;
    if (const auto exception = exceptionFrom([&] {
            if constexpr (std::is_void_v<Result>)
                body();
            else
                result = body();
        }))
        raised = fromException(*exception);
    [raised raise];
    if constexpr (!std::is_void_v<Result>) return result;
}

// Logs an exception that was thrown in `method`.
void logException(const platform::Exception& exception, const char* method);

// The result of `body`, or `failure` after a C++ exception, which is logged.
template <typename Result, typename Body>
Result guarded(const char* method, Result failure, const Body& body) {
    Result result = failure;
    if (const auto exception = exceptionFrom([&] { result = static_cast<Result>(body()); }))
        logException(*exception, method);
    return result;
}

// The same without a result.
template <typename Body>
void perform(const char* method, const Body& body) {
    if (const auto exception = exceptionFrom(body)) logException(*exception, method);
}

}  // namespace quillmoor::objc
