#include "quillmoor/platform/macos/ground/cocoa_calls_macos.h"

#include <optional>

#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"

namespace quillmoor::platform::macos {

Exception exceptionOf(NSException* exception) {
    return {bytesOf([exception name]).value_or("(null)"),
            bytesOf([exception reason]).value_or("(null)")};
}

void callCocoa(const std::function<void()>& body) {
    std::optional<Exception> raised;
    @autoreleasepool {
        @try {
            body();
        } @catch (NSException* exception) {
            raised = exceptionOf(exception);
        }
    }
    if (raised) throw *raised;
}

}  // namespace quillmoor::platform::macos
