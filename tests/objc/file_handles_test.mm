#include "objc/file_handles.h"

#include "objc/bridge.h"

#include "quillmoor/platform/platform.h"
#include "tests/objc/objc_support.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {

using namespace objc;

TEST(FileHandles, ReleasesTheFileWithItsLastWrapper) {
    TempFolder folder;
    auto file = platform::native().fileHandles->openForWriting(folder.writeFile("file"));
    const std::weak_ptr<platform::FileHandle> watched = file;
    {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        NSFileHandle* handle = fromFileHandle(file);
        EXPECT_EQ(fromFileHandle(file), handle);
        EXPECT_EQ(toFileHandle(handle), file);
        file = nullptr;
        EXPECT_FALSE(watched.expired());
        [pool drain];
    }
    EXPECT_TRUE(watched.expired());
}

TEST(FileHandles, ReturnTheOffsetOfTheEnd) {
    TempFolder folder;
    NSFileHandle* handle = fromFileHandle(
        platform::native().fileHandles->openForWriting(folder.writeFile("file", "12345")));
    EXPECT_EQ([handle seekToEndOfFile], 5U);
}

TEST(FileHandles, ReadsAHandleOfTheCaller) {
    NSPipe* pipe = [NSPipe pipe];
    [[pipe fileHandleForWriting] writeData:[NSData dataWithBytes:"abc" length:3]];
    platform::ByteBuffer buffer;
    const auto handle = toFileHandle([pipe fileHandleForReading]);
    EXPECT_EQ(handle->readAvailableData(buffer), 3U);
    EXPECT_EQ(buffer.takeData().view(), "abc");
    EXPECT_EQ(fromFileHandle(handle), [pipe fileHandleForReading]);
}

TEST(FileHandles, ReadAndWriteAPipeOfTheLibrary) {
    const platform::Pipe pipe = platform::native().fileHandles->makePipe();
    [fromFileHandle(pipe.writing) writeData:[NSData dataWithBytes:"abc" length:3]];
    NSData* data = [fromFileHandle(pipe.reading) availableData];
    EXPECT_EQ(toData(data).view(), "abc");
}

TEST(FileHandles, AppendAfterSeekingToTheEnd) {
    TempFolder folder;
    const std::string path = folder.writeFile("file", "abc");
    NSFileHandle* ofTheCaller = [NSFileHandle fileHandleForWritingAtPath:string(path)];
    toFileHandle(ofTheCaller)->seekToEndOfFile();
    toFileHandle(ofTheCaller)->writeData("d");
    NSFileHandle* ofTheLibrary =
        fromFileHandle(platform::native().fileHandles->openForWriting(path));
    EXPECT_EQ([ofTheLibrary seekToEndOfFile], 4U);
    [ofTheLibrary writeData:[NSData dataWithBytes:"e" length:1]];
    EXPECT_EQ(readFile(path), "abcde");
}

}  // namespace quillmoor::test
