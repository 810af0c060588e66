#include "tools/ditto/file_sink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/zip_builder.h"
#include "tools/ditto/entry.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

using platform::posix::Descriptor;

constexpr std::size_t kLarge = 3U << 20U;

std::string someText(std::size_t size) {
    std::string text(size, '\0');
    unsigned value = 1;
    for (char& c : text) c = static_cast<char>((value = value * 1'103'515'245U + 12'345U) >> 16U);
    return text;
}

// Passes the content in pieces that fill the room.
void fill(PieceSink& sink, std::string_view text) {
    while (!text.empty()) {
        const std::span<unsigned char> room = sink.room(text.size());
        ASSERT_FALSE(room.empty());
        const std::size_t size = std::min(room.size(), text.size());
        text.copy(reinterpret_cast<char*>(room.data()), size);
        sink.accept(size);
        text.remove_prefix(size);
    }
}

class DittoSink : public testing::Test {
  protected:
    Descriptor make(const std::string& name) {
        return Descriptor(
            ::open((folder_ / name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    }
    std::string contentOf(const std::string& name) { return test::readFile(folder_ / name); }

    test::TempFolder folder_;
    const std::string text_ = someText(kLarge);
};

TEST_F(DittoSink, WritesOneFileAfterTheOther) {
    FileSink sink;
    for (const std::size_t size : {kLarge, std::size_t{0}, std::size_t{5}}) {
        const Descriptor file = make("file");
        const std::string part = text_.substr(0, size);
        sink.start(file.get(), "file");
        fill(sink, part);
        EXPECT_EQ(sink.finish(), test::crcOf(part));
        EXPECT_TRUE(contentOf("file") == part) << size;
    }
}

TEST_F(DittoSink, HasRoomForAWholeEntryAndNotForMore) {
    FileSink sink;
    EXPECT_GE(sink.room(0).size(), 1U);
    EXPECT_GE(sink.room(kWholeEntry).size(), kWholeEntry);
    EXPECT_LE(sink.room(10 * kWholeEntry).size(), kWholeEntry);
}

TEST_F(DittoSink, NamesTheFileThatCannotBeWritten) {
    const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    FileSink sink;
    sink.start(full.get(), "named");
    try {
        fill(sink, "text");
        FAIL() << "nothing thrown";
    } catch (const Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find("“named” couldn’t be written"),
                  std::string::npos)
            << failure.what();
    }
}

TEST_F(DittoSink, WritesOnASeparateThread) {
    for (const std::size_t size : {kLarge, std::size_t{0}, std::size_t{5}}) {
        const Descriptor file = make("file");
        const std::string part = text_.substr(0, size);
        BackgroundSink sink(file.get(), "file");
        fill(sink, part);
        EXPECT_EQ(sink.finish(), test::crcOf(part));
        EXPECT_TRUE(contentOf("file") == part) << size;
    }
}

TEST_F(DittoSink, HasTheSameRoomForALargeEntry) {
    const Descriptor file = make("file");
    BackgroundSink sink(file.get(), "file");
    EXPECT_EQ(sink.room(kWholeEntry).size(), sink.room(100 * kWholeEntry).size());
    EXPECT_LE(sink.room(100 * kWholeEntry).size(), kWholeEntry);
}

TEST_F(DittoSink, ReportsAFailedWriteOfTheThread) {
    const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    BackgroundSink few(full.get(), "few");
    fill(few, "text");
    EXPECT_THROW(few.finish(), Failure);
    // Without the report, no room would ever become free.
    BackgroundSink many(full.get(), "many");
    EXPECT_THROW(fill(many, text_), Failure);
}

TEST_F(DittoSink, EndsItsThreadWhenItIsDestroyedEarly) {
    const Descriptor file = make("file");
    {
        BackgroundSink sink(file.get(), "file");
        fill(sink, text_.substr(0, 1000));
    }
    EXPECT_EQ(contentOf("file").size(), 1000U);
}

}  // namespace
}  // namespace quillmoor::ditto
