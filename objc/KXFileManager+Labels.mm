#import "objc/KXFileManager.h"

#include <optional>

#include "objc/bridge.h"
#include "quillmoor/files/KXFileManager.h"

using namespace quillmoor::objc;
using Files = quillmoor::KXFileManager;

namespace {

NSColor* colorOf(const std::optional<quillmoor::FinderColor>& color) {
    if (!color) return nil;
    return [NSColor colorWithCalibratedHue:color->hue
                                saturation:color->saturation
                                brightness:color->brightness
                                     alpha:color->alpha];
}

}  // namespace

@implementation KXFileManager (ColourLabels)

+ (int)finderColorIndexForPath:(NSString*)path {
    return guarded(__func__, 0, [&] { return Files::finderColorIndexForPath(toString(path)); });
}

+ (void)setFinderColorIndex:(unsigned int)index forPath:(NSString*)path {
    perform(__func__, [&] { Files::setFinderColorIndex(index, toString(path)); });
}

+ (NSColor*)finderColorForColorIndex:(int)index {
    return guarded(__func__, static_cast<NSColor*>(nil),
                   [&] { return colorOf(Files::finderColorForColorIndex(index)); });
}

+ (NSColor*)finderColorForPath:(NSString*)path {
    return guarded(__func__, static_cast<NSColor*>(nil),
                   [&] { return colorOf(Files::finderColorForPath(toString(path))); });
}

@end
