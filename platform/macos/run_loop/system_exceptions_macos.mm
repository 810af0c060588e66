#include "quillmoor/platform/posix/run_loop/system_exceptions_posix.h"

#import <Foundation/Foundation.h>
#include <objc/runtime.h>

#include <atomic>

#include "quillmoor/platform/macos/ground/cocoa_calls_macos.h"

namespace quillmoor::platform::posix {
namespace {

using Report = void (*)(const Exception*);
std::atomic<Report> reportToCall{nullptr};

void reportUncaught(NSException* exception) {
    @autoreleasepool {
        const Exception translated = macos::exceptionOf(exception);
        reportToCall.load()([exception reason] != nil ? &translated : nullptr);
    }
}

}  // namespace

void observeSystemExceptions(Report report) {
    reportToCall = report;
    NSSetUncaughtExceptionHandler(reportUncaught);
}

// The runtime names the type of a thrown object after its class, without C++'s prefixes.
bool isSystemException(const char* typeName) noexcept {
    return objc_lookUpClass(typeName) != nil;
}

}  // namespace quillmoor::platform::posix
