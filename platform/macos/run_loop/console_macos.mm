#include "quillmoor/platform/posix/run_loop/console_posix.h"

#import <Foundation/Foundation.h>

#include <string>

#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"
#include "quillmoor/platform/posix/ground/broken_pipe_posix.h"

namespace quillmoor::platform::posix {

bool logToSystem(std::string_view text) {
    @autoreleasepool {
        NSString* const line = macos::cocoaText(std::string(text));
        // Not valid UTF-8: as bytes it can still be written to standard error.
        if (line == nil) return false;
        const BrokenPipeGuard guard;
        NSLog(@"%@", line);
        return true;
    }
}

}  // namespace quillmoor::platform::posix
