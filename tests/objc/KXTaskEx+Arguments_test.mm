// Arguments and environments that hold anything but strings, or cannot be read.
#import "objc/KXTaskEx.h"

#include "tests/objc/log_world.h"
#include "tests/objc/objc_support.h"
#include "tests/task/held_time.h"

using namespace quillmoor::test;
using quillmoor::StringList;

// A list that cannot be read.
@interface RaisingList : NSArray
@end

@implementation RaisingList
- (NSUInteger)count {
    [NSException raise:NSRangeException format:@"no list"];
    return 0;
}
- (id)objectAtIndex:(NSUInteger)index {
    [NSException raise:NSRangeException format:@"no object at %lu", (unsigned long)index];
    return nil;
}
@end

namespace {

NSString* const kShell = @"/bin/sh";

NSArray* argumentsThatAreNotText() {
    return [NSArray arrayWithObjects:@"-c", @"echo one", [NSNumber numberWithInt:1], nil];
}

const std::string kBadArguments =
    "Exception running task /bin/sh: an element of the list is not a string";

}  // namespace

TEST(ObjcTask, StartsNothingWithArgumentsThatAreNotText) {
    OpenLogWorld world;
    NSArray* arguments = argumentsThatAreNotText();
    EXPECT_FALSE([KXTaskEx runTask:kShell arguments:arguments]);
    EXPECT_EQ([KXTaskEx dataFromTask:kShell arguments:arguments task:nullptr], nil);
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell arguments:arguments]), "");
    for (const auto& body :
         {std::function<void()>([&] { [KXTaskEx runTaskAndReturn:kShell arguments:arguments]; }),
          std::function<void()>(
              [&] { [KXTaskEx terminationCodeFromTask:kShell arguments:arguments]; })})
        EXPECT_EQ(nameOfRaised(body), "NSInvalidArgumentException");
}

TEST(ObjcTask, ReportsArgumentsThatAreNotTextAsAFailedStart) {
    OpenLogWorld world;
    [KXTaskEx runTask:kShell arguments:argumentsThatAreNotText()];
    EXPECT_EQ(world.written(), StringList{kBadArguments});
    EXPECT_EQ(world.console_.logged(), "");
    [KXTaskEx dataFromTask:kShell arguments:argumentsThatAreNotText() task:nullptr];
    EXPECT_EQ(world.console_.logged(), kBadArguments);
    EXPECT_EQ(world.written(), StringList{kBadArguments});
    EXPECT_EQ(world.console_.printed(), "");
}

TEST(ObjcTask, ReportsAnEnvironmentThatIsNotText) {
    OpenLogWorld world;
    NSDictionary* variables = [NSDictionary dictionaryWithObject:[NSNumber numberWithInt:1]
                                                          forKey:@"KX_VALUE"];
    EXPECT_EQ([KXTaskEx dataFromTask:kShell arguments:nil task:nullptr environment:variables], nil);
    EXPECT_EQ(world.console_.logged(), kBadArguments);
    EXPECT_EQ(world.written(), StringList());
}

TEST(ObjcTask, ReportsArgumentsThatRaise) {
    OpenLogWorld world;
    EXPECT_FALSE([KXTaskEx runTask:kShell arguments:[[[RaisingList alloc] init] autorelease]]);
    const StringList written = world.written();
    ASSERT_EQ(written.size(), 1U);
    EXPECT_EQ(written[0].find("Exception running task /bin/sh: "), 0U) << written[0];
}

TEST(ObjcTask, ChecksThePathBeforeTheArguments) {
    OpenLogWorld world;
    NSArray* arguments = argumentsThatAreNotText();
    const std::string refused = "Error: /nowhere/tool is not executable";
    EXPECT_FALSE([KXTaskEx runTask:@"/nowhere/tool" arguments:arguments]);
    EXPECT_EQ([KXTaskEx dataFromTask:@"/nowhere/tool" arguments:arguments task:nullptr], nil);
    EXPECT_EQ([KXTaskEx terminationCodeFromTask:@"/nowhere/tool" arguments:arguments], -1);
    [KXTaskEx runTaskAndReturn:@"/nowhere/tool" arguments:arguments];
    EXPECT_EQ(world.written(), (StringList{refused, refused, refused, refused}));
}

TEST(ObjcTask, WithATimeOutFailsForArgumentsThatAreNotText) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
    NSArray* arguments = argumentsThatAreNotText();
    [KXTaskEx runTask:kShell arguments:arguments timeout:30];
    EXPECT_EQ(world.written(), StringList{kBadArguments});
    EXPECT_EQ([KXTaskEx dataFromTask:kShell arguments:arguments timeout:30], nil);
    EXPECT_EQ(world.console_.logged(), kBadArguments);
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell arguments:arguments timeout:30]), "");
    EXPECT_EQ(nameOfRaised([&] {
                  [KXTaskEx terminationCodeFromTask:kShell arguments:arguments timeout:30];
              }),
              "NSInvalidArgumentException");
    EXPECT_EQ(world.written(), StringList{kBadArguments});
}
