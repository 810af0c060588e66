// The few declarations of Foundation that the sources for macOS need to compile for a Mac where
// there is none. Names and types are those of Apple's public documentation.
#pragma once

#if defined(__arm64__)
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES ((BOOL)1)
#define NO ((BOOL)0)

typedef long NSInteger;
typedef unsigned long NSUInteger;

__attribute__((objc_root_class))
@interface NSObject {
    Class isa;
}
+ (instancetype)alloc;
- (instancetype)init;
- (void)dealloc;
@end

@interface NSString : NSObject
- (const char*)UTF8String;
+ (instancetype)stringWithUTF8String:(const char*)text;
@end

// The class of literals.
@interface NSConstantString : NSString {
    char* text_;
    unsigned int length_;
}
@end
