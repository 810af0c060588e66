#include "tests/objc/objc_support.h"

#include "objc/bridge.h"

namespace quillmoor::test {
namespace {

class Pools : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override {
        pool_ = [[NSAutoreleasePool alloc] init];
        // Before a test has threads: while GNUstep sets up this class it has the runtime's lock,
        // and wants one of its own, which a thread that calls the main one takes in the other
        // order.
        [NSRunLoop currentRunLoop];
    }
    void OnTestEnd(const ::testing::TestInfo&) override { [pool_ drain]; }

    NSAutoreleasePool* pool_ = nil;
};

[[maybe_unused]] const bool kInstalled = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new Pools);
    return true;
}();

}  // namespace

std::string textOf(NSString* text) {
    return objc::toString(text).value_or("nil");
}

std::string textOf(const OptionalString& text) {
    return text.value_or("nil");
}

NSString* string(const std::string& text) {
    return objc::fromString(std::string_view(text));
}

std::string nameOfRaised(const std::function<void()>& body) {
    @try {
        body();
    } @catch (NSException* exception) {
        return textOf([exception name]);
    }
    return "";
}

void runUntil(const std::function<bool()>& condition) {
    NSDate* const end = [NSDate dateWithTimeIntervalSinceNow:20];
    while (!condition() && [end timeIntervalSinceNow] > 0) {
        @autoreleasepool {
            NSDate* const soon = [NSDate dateWithTimeIntervalSinceNow:0.005];
            // Without a source it returns at once.
            if (![[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:soon])
                [NSThread sleepUntilDate:soon];
        }
    }
}

}  // namespace quillmoor::test
