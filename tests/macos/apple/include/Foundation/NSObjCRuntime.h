// What <Foundation/NSObjCRuntime.h> of macOS declares, as far as the project uses it.
#pragma once

#include <objc/runtime.h>
#include <stdarg.h>
#include <stddef.h>

#define FOUNDATION_EXPORT extern "C"
#define NS_REQUIRES_NIL_TERMINATION __attribute__((sentinel(0, 1)))
#define NSUIntegerMax (~(NSUInteger)0)
#define NS_FORMAT_FUNCTION(text, arguments) __attribute__((format(__NSString__, text, arguments)))
#define NS_SWIFT_NAME(name) __attribute__((swift_name(#name)))
#define NS_SWIFT_UNAVAILABLE(message) \
    __attribute__((availability(swift, unavailable, message = message)))
#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#define NS_ENUM(type, name) \
    enum name : type name;  \
    enum name : type
#define NS_OPTIONS(type, name) \
    enum name : type name;     \
    enum name : type

@class NSString;
FOUNDATION_EXPORT void NSLog(NSString* format, ...) NS_FORMAT_FUNCTION(1, 2);
