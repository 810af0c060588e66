#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"

namespace quillmoor::platform::macos {

NSString* cocoaText(const std::string& bytes) {
    return [[[NSString alloc] initWithBytes:bytes.data()
                                     length:bytes.size()
                                   encoding:NSUTF8StringEncoding] autorelease];
}

NSString* cocoaPath(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return nil;
    return cocoaText(path);
}

OptionalString bytesOf(NSString* text) {
    // Nil where half a character of UTF-16 stands alone.
    NSData* const data = [text dataUsingEncoding:NSUTF8StringEncoding];
    if (data == nil) return std::nullopt;
    return std::string(static_cast<const char*>([data bytes]), [data length]);
}

}  // namespace quillmoor::platform::macos
