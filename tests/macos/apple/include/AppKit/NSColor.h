// What <AppKit/NSColor.h> of macOS declares, as far as the project uses it.
#pragma once

#import <Foundation/Foundation.h>

typedef double CGFloat;

@interface NSColor : NSObject <NSCopying>
+ (NSColor*)colorWithCalibratedHue:(CGFloat)hue
                        saturation:(CGFloat)saturation
                        brightness:(CGFloat)brightness
                             alpha:(CGFloat)alpha;
@end
