// What <objc/objc.h> of macOS declares, as far as the project uses it.
#pragma once

#if defined(__OBJC_BOOL_IS_BOOL) && __OBJC_BOOL_IS_BOOL
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES __objc_yes
#define NO __objc_no

#define nil nullptr
#define Nil nullptr

typedef void (*IMP)(void);

typedef long NSInteger;
typedef unsigned long NSUInteger;

// Since which system a call is deprecated: the compiler warns if the oldest system that is
// supported is that one or a later one.
#define KX_DEPRECATED(since, until) \
    __attribute__((availability(macos, introduced = since, deprecated = until)))
