#import "objc/KXException.h"

#include "tests/objc/log_world.h"
#include "tests/objc/objc_support.h"

using namespace quillmoor::test;

namespace {

NSException* exception(NSString* name, NSString* reason) {
    return [NSException exceptionWithName:name reason:reason userInfo:nil];
}

}  // namespace

TEST(KXException, logException_forMethod_) {
    OpenLogWorld world;
    NSString* text = [KXException logException:exception(@"Bad", @"no path") forMethod:"launch"];
    EXPECT_EQ(textOf(text), "Exception in launch. Bad - no path.");
    EXPECT_EQ(world.written(), quillmoor::StringList{textOf(text)});
    EXPECT_EQ(world.console_.printed(), textOf(text) + "\n");
}

TEST(KXException, didTimeout_) {
    EXPECT_TRUE([KXException didTimeout:exception(@"NSPortTimeoutException", @"")]);
    EXPECT_FALSE([KXException didTimeout:exception(@"NSPortTimeout", @"")]);
    EXPECT_FALSE([KXException didTimeout:exception(@"nsporttimeoutexception", @"")]);
    EXPECT_FALSE([KXException didTimeout:nil]);
}

TEST(ObjcException, RendersNil) {
    OpenLogWorld world;
    EXPECT_EQ(textOf([KXException logException:nil forMethod:"launch"]),
              "Exception in launch. (null) - (null).");
    EXPECT_EQ(textOf([KXException logException:nil forMethod:nullptr]),
              "Exception in (null). (null) - (null).");
}

TEST(ObjcException, ReturnsNilForAMethodThatIsNotValidUtf8) {
    OpenLogWorld world;
    EXPECT_EQ([KXException logException:nil forMethod:"\xFF"], nil);
}

TEST(ObjcException, ReportsTheReasonOfAnUncaughtException) {
    OpenLogWorld world;
    uncaughtExceptionHandler(exception(@"Bad", @"no path"));
    uncaughtExceptionHandler(nil);
    EXPECT_EQ(world.written(), quillmoor::StringList{"no path"});
    EXPECT_EQ(world.console_.printed(), "no path\n");
}
