// What <Foundation/NSNotification.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSDictionary, NSString;
typedef NSString* NSNotificationName;

@interface NSNotification : NSObject <NSCopying>
@property(readonly, copy) NSNotificationName name;
@property(nullable, readonly, copy) NSDictionary* userInfo;
+ (instancetype)notificationWithName:(NSNotificationName)name
                              object:(nullable id)object
                            userInfo:(nullable NSDictionary*)userInfo;
@end

@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
- (void)addObserver:(id)observer
           selector:(SEL)selector
               name:(nullable NSNotificationName)name
             object:(nullable id)object;
@end

NS_ASSUME_NONNULL_END
