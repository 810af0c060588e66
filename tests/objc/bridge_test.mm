#include "objc/bridge.h"

#include <stdexcept>

#include "tests/objc/log_world.h"
#include "tests/objc/objc_support.h"

// Counts its instances, to see when one is released.
@interface CountedObject : NSObject
@end

namespace {
int instances = 0;
}  // namespace

@implementation CountedObject
- (instancetype)init {
    self = [super init];
    ++instances;
    return self;
}
- (void)dealloc {
    --instances;
    [super dealloc];
}
@end

namespace quillmoor::test {

using namespace objc;

TEST(Bridge, KeepsNilApartFromEmptyText) {
    EXPECT_EQ(toString(nil), std::nullopt);
    EXPECT_EQ(toString(@""), "");
    EXPECT_EQ(fromString(OptionalString()), nil);
    EXPECT_EQ([fromString(std::string_view("")) length], 0U);
}

TEST(Bridge, TranslatesTextOfEveryLength) {
    const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
    NSString* string = fromString(std::string_view(text));
    EXPECT_EQ([string length], 6U);
    EXPECT_EQ([string characterAtIndex:2], 0x20AC);
    EXPECT_EQ([string characterAtIndex:3], 0xD83D);
    EXPECT_EQ(toString(string), text);
}

TEST(Bridge, KeepsNulsAndByteOrderMarksInsideText) {
    const std::string text("a\xEF\xBB\xBF\0b", 6);
    EXPECT_EQ([fromString(std::string_view(text)) length], 4U);
    EXPECT_EQ(toString(fromString(std::string_view(text))), text);
}

TEST(Bridge, HasNoStringForInvalidUtf8) {
    for (const char* bytes : {"a\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF5\x80\x80\x80"})
        EXPECT_EQ(fromString(std::string_view(bytes)), nil) << bytes;
}

TEST(Bridge, KeepsHalfASurrogatePairAsInvalidBytes) {
    NSString* text = fromString(std::string_view("a\xF0\x9F\x98\x80z"));
    EXPECT_EQ(toString([text substringToIndex:2]), "a\xED\xA0\xBD");
    EXPECT_EQ(toString([text substringFromIndex:2]), "\xED\xB8\x80z");
}

TEST(Bridge, LeavesInvalidTextOutOfLists) {
    NSArray* list = fromList({"a", "b\xFF", "c"});
    EXPECT_EQ([list count], 2U);
    EXPECT_EQ(textOf([list componentsJoinedByString:@" "]), "a c");
}

TEST(Bridge, KeepsNilArgumentsApartFromNone) {
    EXPECT_EQ(toArguments(nil), std::nullopt);
    EXPECT_EQ(toArguments([NSArray array]), StringList());
    EXPECT_EQ(toArguments([NSArray arrayWithObjects:@"-a", @"b", nil]), (StringList{"-a", "b"}));
    EXPECT_EQ(toEnvironment(nil), std::nullopt);
    EXPECT_EQ(toEnvironment([NSDictionary dictionaryWithObject:@"1" forKey:@"A"]),
              (Environment{{"A", "1"}}));
}

TEST(Bridge, RefusesArgumentsThatAreNotText) {
    NSNumber* number = [NSNumber numberWithInt:1];
    for (const auto& body :
         {std::function<void()>([&] { toArguments([NSArray arrayWithObjects:@"a", number, nil]); }),
          std::function<void()>(
              [&] { toEnvironment([NSDictionary dictionaryWithObject:number forKey:@"A"]); })}) {
        const auto exception = exceptionFrom(body);
        ASSERT_TRUE(exception);
        EXPECT_EQ(exception->name(), "NSInvalidArgumentException");
    }
}

TEST(Bridge, TranslatesBytes) {
    EXPECT_EQ(fromData(std::nullopt), nil);
    EXPECT_EQ([fromData(Data()) length], 0U);
    NSData* data = fromData(Data(std::string("a\0b", 3)));
    EXPECT_EQ([data length], 3U);
    EXPECT_EQ(toData(data).view(), std::string_view("a\0b", 3));
    EXPECT_TRUE(toData(nil).empty());
}

TEST(Bridge, KeepsTheBytesOfDataThatChanges) {
    NSMutableData* data = [NSMutableData dataWithBytes:"abc" length:3];
    const Data kept = toData(data);
    [data setLength:0];
    EXPECT_EQ(kept.view(), "abc");
}

TEST(Bridge, KeepsAnObjectUntilTheLastReferenceIsReleased) {
    CountedObject* const object = [[CountedObject alloc] init];
    auto reference = toObject(object);
    [object release];
    EXPECT_EQ(instances, 1);
    EXPECT_EQ(fromObject(reference), object);
    {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        const auto second = reference;
        reference = nullptr;
        EXPECT_EQ(fromObject(second), object);
        EXPECT_EQ(instances, 1);
        [pool drain];
    }
    EXPECT_EQ(toObject(nil), nullptr);
}

TEST(Bridge, TranslatesExceptions) {
    NSException* exception = [NSException exceptionWithName:@"Name"
                                                     reason:@"a reason"
                                                   userInfo:nil];
    EXPECT_EQ(toException(exception).name(), "Name");
    EXPECT_EQ(toException(exception).reason(), "a reason");
    EXPECT_EQ(toException(nil).name(), "(null)");
    EXPECT_EQ(toException(nil).reason(), "(null)");
    exception = fromException(platform::Exception("Name", "a reason"));
    EXPECT_EQ(textOf([exception name]), "Name");
    EXPECT_EQ(textOf([exception reason]), "a reason");
}

TEST(Bridge, RaisesWhatIsThrown) {
    EXPECT_EQ(raising([] { return 3; }), 3);
    EXPECT_EQ(nameOfRaised([] { raising([] { throw platform::Exception("Name", "a reason"); }); }),
              "Name");
    EXPECT_EQ(nameOfRaised(
                  [] { raising([]() -> int { throw platform::Exception("Name", "a reason"); }); }),
              "Name");
}

TEST(Bridge, RaisesTheSameObjectAgain) {
    NSException* const exception = [NSException exceptionWithName:@"Name"
                                                           reason:@"a reason"
                                                         userInfo:nil];
    NSException* raised = nil;
    @try {
        raising([&] { [exception raise]; });
    } @catch (NSException* caught) {
        raised = caught;
    }
    EXPECT_EQ(raised, exception);
}

TEST(Bridge, ThrowsWhatIsRaised) {
    const auto exception =
        exceptionFrom([] { throwing([] { [NSException raise:@"Name" format:@"a reason"]; }); });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->name(), "Name");
    EXPECT_EQ(exception->reason(), "a reason");
}

TEST(Bridge, LogsWhatIsThrownAndReturnsTheFailure) {
    OpenLogWorld world;
    EXPECT_EQ(guarded("method", NO, [] { return true; }), YES);
    EXPECT_EQ(
        guarded("method", NO, []() -> bool { throw platform::Exception("Name", "a reason"); }), NO);
    perform("method", [] { throw std::runtime_error("a reason"); });
    EXPECT_EQ(world.written(), (StringList{"Exception in method. Name - a reason.",
                                           "Exception in method. std::runtime_error - a reason."}));
}

TEST(Bridge, LogsWhatIsRaisedAndReturnsTheFailure) {
    OpenLogWorld world;
    const auto raise = [] { [NSException raise:@"Name" format:@"a reason"]; };
    EXPECT_EQ(guarded("method", NO, [&] { return raise(), true; }), NO);
    perform("method", raise);
    EXPECT_EQ(world.written(), (StringList{"Exception in method. Name - a reason.",
                                           "Exception in method. Name - a reason."}));
}

}  // namespace quillmoor::test
