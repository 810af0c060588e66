#import "objc/KXException.h"

#include "objc/bridge.h"
#include "quillmoor/log/KXException.h"

using namespace quillmoor::objc;

@implementation KXException

+ (NSString*)logException:(NSException*)exception forMethod:(const char*)method {
    return guarded(__func__, static_cast<NSString*>(nil), [&] {
        const auto translated = toException(exception);
        return fromString(
            std::string_view(quillmoor::KXException::logException(&translated, method)));
    });
}

+ (BOOL)didTimeout:(NSException*)exception {
    return guarded(__func__, NO, [&] {
        const auto translated = toException(exception);
        return quillmoor::KXException::didTimeout(&translated);
    });
}

@end

void uncaughtExceptionHandler(NSException* exception) {
    perform(__func__, [&] {
        const auto translated = toException(exception);
        quillmoor::uncaughtExceptionHandler([exception reason] != nil ? &translated : nullptr);
    });
}
