#include "tests/objc/files_world.h"

using namespace quillmoor::test;
using quillmoor::StringList;

// Implements all four notices. They hold the delegate, and are forgotten at the end of a test.
@interface CopyDelegate : NSObject {
  @public
    NSMutableArray* notices;
    FSFileOperationRef operation;
    int changes;  // of the operation's reference
    BOOL cancels;
    BOOL raises;
}
@end

@implementation CopyDelegate
- (instancetype)init {
    self = [super init];
    notices = [[NSMutableArray alloc] init];
    return self;
}
- (void)dealloc {
    [notices release];
    [super dealloc];
}
- (void)add:(NSDictionary*)notice operation:(FSFileOperationRef)given {
    if (operation != nullptr && operation != given) ++changes;
    operation = given;
    [notices addObject:notice];
    if (raises) [NSException raise:@"Bad" format:@"no path"];
}
- (void)fileOperationProgress:(NSDictionary*)notice fileOperation:(FSFileOperationRef)given {
    [self add:notice operation:given];
    if (cancels) [KXFileManager cancelFileOperation:given];
}
- (void)fileOperationProgress:(NSDictionary*)notice {
    ADD_FAILURE();
}
- (void)fileOperationFinished:(NSDictionary*)notice fileOperation:(FSFileOperationRef)given {
    [self add:notice operation:given];
}
- (void)fileOperationFinished:(NSDictionary*)notice {
    ADD_FAILURE();
}
- (void)forget {
    [notices removeAllObjects];
}
@end

// Implements only the forms without the operation.
@interface PlainDelegate : NSObject {
  @public
    NSDictionary* finished;
    int progresses;
}
@end

@implementation PlainDelegate
- (void)dealloc {
    [finished release];
    [super dealloc];
}
- (void)fileOperationProgress:(NSDictionary*)notice {
    ++progresses;
}
- (void)fileOperationFinished:(NSDictionary*)notice {
    finished = [notice copy];
}
- (void)forget {
    [finished release];
    finished = nil;
}
@end

namespace {

// A status every millisecond.
class OftenReporting : public ForwardingFileOperations {
  public:
    std::int32_t copy(const quillmoor::platform::FileOperationRef& operation,
                      const std::string& source, const std::string& folder, const std::string& name,
                      quillmoor::platform::FileOperationCallback callback,
                      std::chrono::milliseconds) override {
        return ForwardingFileOperations::copy(operation, source, folder, name, std::move(callback),
                                              std::chrono::milliseconds(1));
    }
};

bool isFinished(NSArray* notices) {
    return [[[notices lastObject] objectForKey:@"stage"] longValue] == 3;
}

std::string value(NSDictionary* notice, NSString* key) {
    return textOf([[notice objectForKey:key] description]);
}

}  // namespace

TEST(KXFileManager, copyFileWithProgress_destination_delegate_object_) {
    FilesWorld world;
    PlainDelegate* delegate = [[[PlainDelegate alloc] init] autorelease];
    EXPECT_TRUE([KXFileManager copyFileWithProgress:world.file("a")
                                        destination:world.path("b/c")
                                           delegate:delegate
                                             object:@"one"]);
    runUntil([&] { return delegate->finished != nil; });
    EXPECT_EQ(readFile(world.at("b/c")), "text");
    EXPECT_EQ(value(delegate->finished, @"stage"), "3");
    EXPECT_EQ(value(delegate->finished, @"object"), "one");
    EXPECT_EQ([delegate->finished objectForKey:@"object2"], nil);
    EXPECT_FALSE([KXFileManager copyFileWithProgress:nil destination:nil delegate:nil object:nil]);
    [delegate forget];
}

TEST(KXFileManager, copyFileWithProgress_destination_delegate_object_object_) {
    FilesWorld world;
    CopyDelegate* delegate = [[[CopyDelegate alloc] init] autorelease];
    EXPECT_TRUE([KXFileManager copyFileWithProgress:world.file("a")
                                        destination:world.path("b")
                                           delegate:delegate
                                             object:@"one"
                                             object:@"two"]);
    runUntil([&] { return isFinished(delegate->notices); });
    NSDictionary* notice = [delegate->notices lastObject];
    EXPECT_EQ([notice count], 7U);
    EXPECT_EQ(value(notice, @"source"), world.at("a"));
    EXPECT_EQ(value(notice, @"destination"), world.at("b"));
    EXPECT_EQ(value(notice, @"operationtype"), "copy");
    EXPECT_EQ([notice objectForKey:@"delegate"], delegate);
    EXPECT_EQ(value(notice, @"object"), "one");
    EXPECT_EQ(value(notice, @"object2"), "two");
    EXPECT_FALSE([KXFileManager copyFileWithProgress:nil
                                         destination:nil
                                            delegate:delegate
                                              object:nil
                                              object:nil]);
    [delegate forget];
}

TEST(KXFileManager, cancelFileOperation_) {
    FilesWorld world;
    OftenReporting operations;
    world.platform_->fileOperations = &operations;
    for (int i = 0; i < 2000; ++i) world.file("a/" + std::to_string(i), std::string(20000, 'x'));
    CopyDelegate* delegate = [[[CopyDelegate alloc] init] autorelease];
    delegate->cancels = YES;
    EXPECT_TRUE([KXFileManager copyFileWithProgress:world.path("a")
                                        destination:world.path("b")
                                           delegate:delegate
                                             object:nil]);
    runUntil([&] { return isFinished(delegate->notices); });
    EXPECT_GT([delegate->notices count], 1U);
    EXPECT_EQ(delegate->changes, 0);
    EXPECT_FALSE(world.exists("b"));
    NSDictionary* first = [delegate->notices objectAtIndex:0];
    EXPECT_EQ(value(first, @"stage"), "2");
    EXPECT_NE([first objectForKey:@"kFSOperationBytesCompleteKey"], nil);
    // One that has ended, and none.
    [KXFileManager cancelFileOperation:delegate->operation];
    [KXFileManager cancelFileOperation:nullptr];
    [delegate forget];
}

TEST(ObjcCopy, ReportsProgressToADelegateWithoutTheOperation) {
    FilesWorld world;
    OftenReporting operations;
    world.platform_->fileOperations = &operations;
    for (int i = 0; i < 2000; ++i) world.file("a/" + std::to_string(i), std::string(20000, 'x'));
    PlainDelegate* delegate = [[[PlainDelegate alloc] init] autorelease];
    EXPECT_TRUE([KXFileManager copyFileWithProgress:world.path("a")
                                        destination:world.path("b")
                                           delegate:delegate
                                             object:nil]);
    runUntil([&] { return delegate->finished != nil; });
    EXPECT_GT(delegate->progresses, 0);
    [delegate forget];
}

TEST(ObjcCopy, KeepsItsDelegateUntilTheEnd) {
    FilesWorld world;
    CopyDelegate* const delegate = [[CopyDelegate alloc] init];
    NSString* source = world.file("a");
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    EXPECT_TRUE([KXFileManager copyFileWithProgress:source
                                        destination:world.path("b")
                                           delegate:delegate
                                             object:nil]);
    [pool drain];
    EXPECT_GT([delegate retainCount], 1U);
    pool = [[NSAutoreleasePool alloc] init];
    runUntil([&] { return isFinished(delegate->notices); });
    [delegate forget];
    [pool drain];
    runUntil([&] { return [delegate retainCount] == 1; });
    EXPECT_EQ([delegate retainCount], 1U);
    [delegate release];
}

TEST(ObjcCopy, ReportsWhatItsDelegateRaises) {
    FilesWorld world;
    CopyDelegate* delegate = [[[CopyDelegate alloc] init] autorelease];
    delegate->raises = YES;
    [KXFileManager copyFileWithProgress:world.file("a")
                            destination:world.path("b")
                               delegate:delegate
                                 object:nil];
    runUntil([&] { return isFinished(delegate->notices); });
    EXPECT_EQ(world.logged(),
              StringList{"Exception in fileOperationFinished:fileOperation:. Bad - no path."});
    [delegate forget];
}
