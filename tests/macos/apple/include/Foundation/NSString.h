// What <Foundation/NSString.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSRange.h>

NS_ASSUME_NONNULL_BEGIN

typedef unsigned short unichar;
typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSASCIIStringEncoding = 1, NSUTF8StringEncoding = 4 };

@class NSData;

@interface NSString : NSObject <NSCopying>
@property(readonly) NSUInteger length;
@property(nullable, readonly) const char* UTF8String;
- (void)getCharacters:(unichar*)buffer range:(NSRange)range;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding;
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)length
                              encoding:(NSStringEncoding)encoding;
- (nullable instancetype)initWithData:(NSData*)data encoding:(NSStringEncoding)encoding;
- (instancetype)initWithFormat:(NSString*)format
                     arguments:(va_list)arguments NS_FORMAT_FUNCTION(1, 0);
+ (instancetype)stringWithCharacters:(const unichar*)characters length:(NSUInteger)length;
+ (instancetype)stringWithString:(NSString*)text;
+ (nullable instancetype)stringWithUTF8String:(const char*)text;
@end

@interface NSMutableString : NSString
@end

// The class of literals.
@interface NSConstantString : NSString {
    char* text_;
    unsigned int length_;
}
@end

NS_ASSUME_NONNULL_END
