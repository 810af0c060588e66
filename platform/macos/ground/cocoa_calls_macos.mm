#include "quillmoor/platform/macos/ground/cocoa_calls_macos.h"

#import <Foundation/Foundation.h>

#include <optional>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"

namespace quillmoor::platform::macos {

void callCocoa(const std::function<void()>& body) {
    std::optional<Exception> raised;
    @autoreleasepool {
        @try {
            body();
        } @catch (NSException* exception) {
            raised.emplace(bytesOf([exception name]).value_or("(null)"),
                           bytesOf([exception reason]).value_or("(null)"));
        }
    }
    if (raised) throw *raised;
}

}  // namespace quillmoor::platform::macos
