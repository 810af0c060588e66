// Declarations of the C objects of the system, as far as the back-end for macOS uses them.
#pragma once

#include "MacTypes.h"

#pragma GCC visibility push(default)
extern "C" {

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFURL* CFURLRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFNumber* CFNumberRef;
typedef struct __CFRunLoop* CFRunLoopRef;
typedef double CFTimeInterval;
typedef long CFIndex;
typedef UInt32 CFStringEncoding;

typedef unsigned long CFTypeID;
typedef CFIndex CFNumberType;
enum : CFNumberType { kCFNumberDoubleType = 13 };
typedef const void* (*CFAllocatorRetainCallBack)(const void* info);
typedef void (*CFAllocatorReleaseCallBack)(const void* info);
typedef CFStringRef (*CFAllocatorCopyDescriptionCallBack)(const void* info);

enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };

extern const CFAllocatorRef kCFAllocatorDefault;

extern const CFStringRef kCFRunLoopDefaultMode;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
CFTypeID CFNumberGetTypeID(void);
CFTypeID CFStringGetTypeID(void);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values);
CFRunLoopRef CFRunLoopGetMain(void);
CFRunLoopRef CFRunLoopGetCurrent(void);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex size,
                                    CFStringEncoding encoding, Boolean isExternal);
CFIndex CFStringGetLength(CFStringRef text);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex size, CFStringEncoding encoding);
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* bytes,
                                                 CFIndex size, Boolean isFolder);
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolve, UInt8* buffer,
                                         CFIndex size);
}
#pragma GCC visibility pop
