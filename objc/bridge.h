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
#include <vector>

#include "quillmoor/base/data.h"
#include "quillmoor/base/types.h"
#include "quillmoor/platform/exception.h"

namespace quillmoor::objc {

// Text ------------------------------------------------------------------------------------------

// UTF-8; nil for nil. Half a surrogate pair becomes three bytes that are not valid UTF-8, so that
// it equals no other text.
OptionalString toString(NSString* text);
// The same, appended to `out`.
void appendText(std::string& out, const std::vector<unichar>& units);

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

// Calls `body` and returns the exception that left it, of C++ or of Objective-C; nothing if none
// did. On some systems a catch clause of C++ catches an NSException as well, and finds neither its
// name nor its reason: no code of the library may see one, so each is caught where it is raised.
std::optional<platform::Exception> exceptionFrom(const std::function<void()>& body);

// The same as an object to raise: what was raised itself, or one for what was thrown; nil for none.
NSException* exceptionToRaise(const std::function<void()>& body);

// The result of `body`, a C++ value. It is called inside an autorelease pool, and what it raises or
// throws is thrown as platform::Exception. For calls of a caller's object by the library.
void throwWhatIsRaisedBy(const std::function<void()>& body);
template <typename Body>
auto throwing(const Body& body) {
    if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
        throwWhatIsRaisedBy(body);
    } else {
        std::invoke_result_t<Body> result{};
        throwWhatIsRaisedBy([&] { result = body(); });
        return result;
    }
}

// Calls -----------------------------------------------------------------------------------------

// The result of `body`. An exception of either language is raised as an NSException, once all C++
// functions have been left.
template <typename Body>
auto raising(const Body& body) {
    using Result = std::invoke_result_t<Body>;
    std::conditional_t<std::is_void_v<Result>, char, Result> result{};
    [exceptionToRaise([&] {
        if constexpr (std::is_void_v<Result>)
            body();
        else
            result = body();
    }) raise];
    if constexpr (!std::is_void_v<Result>) return result;
}

// Logs an exception that was thrown in `method`.
void logException(const platform::Exception& exception, const char* method);

// The result of `body`, or `failure` after an exception of either language, which is logged.
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
