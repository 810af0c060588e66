#include "quillmoor/platform/byte_buffer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "tests/children/child_tools.h"
#include "tests/children/pattern.h"

namespace quillmoor::platform {
namespace {

void append(ByteBuffer& buffer, const std::string& bytes) {
    std::memcpy(buffer.reserveMore(bytes.size()), bytes.data(), bytes.size());
    buffer.addFilled(bytes.size());
}

TEST(ByteBuffer, ANewOneIsEmpty) {
    ByteBuffer buffer;
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.room(), 0u);
    const Data data = buffer.takeData();
    EXPECT_TRUE(data.empty());
    EXPECT_EQ(data.view(), "");
}

TEST(ByteBuffer, ReservingGivesAtLeastTheRoomAskedFor) {
    ByteBuffer buffer;
    char* const room = buffer.reserveMore(100);
    EXPECT_GE(buffer.room(), 100u);
    std::memset(room, 'x', 100);
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.reserveMore(1), room);
}

// From the heap over the border to mappings, and on through several of those.
TEST(ByteBuffer, KeepsItsBytesWhileItGrows) {
    ByteBuffer buffer;
    const std::size_t total = std::size_t{24} << 20;
    const std::size_t step = 99'991;
    while (buffer.size() < total) append(buffer, test::pattern(buffer.size(), step));
    EXPECT_EQ(std::string_view(buffer.bytes(), buffer.size()), test::pattern(0, buffer.size()));
    const std::size_t size = buffer.size();
    const Data data = buffer.takeData();
    EXPECT_EQ(data.view(), test::pattern(0, size));
}

TEST(ByteBuffer, ASmallBufferCanGrowToALargeOneAtOnce) {
    ByteBuffer buffer;
    append(buffer, "start");
    buffer.reserveMore(std::size_t{40} << 20);
    append(buffer, "end");
    EXPECT_EQ(buffer.takeData().view(), "startend");
}

TEST(ByteBuffer, ALargeRoomCanHoldFewBytes) {
    ByteBuffer buffer;
    buffer.reserveMore(std::size_t{40} << 20);
    append(buffer, "few");
    EXPECT_EQ(buffer.takeData().view(), "few");
}

TEST(ByteBuffer, IsEmptyAndUsableAfterItsDataWasTaken) {
    ByteBuffer buffer;
    append(buffer, "one");
    const Data first = buffer.takeData();
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.room(), 0u);
    append(buffer, "two");
    EXPECT_EQ(first.view(), "one");
    EXPECT_EQ(buffer.takeData().view(), "two");
}

TEST(ByteBuffer, DataOutlivesTheBuffer) {
    Data data;
    {
        ByteBuffer buffer;
        append(buffer, test::pattern(0, std::size_t{3} << 20));
        data = buffer.takeData();
    }
    const Data copy = data;
    data = Data();
    EXPECT_EQ(copy.view(), test::pattern(0, std::size_t{3} << 20));
}

TEST(ByteBuffer, MovesWithItsBytes) {
    ByteBuffer first;
    append(first, "bytes");
    ByteBuffer second(std::move(first));
    ByteBuffer third;
    append(third, "others");
    third = std::move(second);
    EXPECT_EQ(third.takeData().view(), "bytes");
}

TEST(ByteBuffer, ThrowsForAHugeSizeAndKeepsItsBytes) {
    ByteBuffer buffer;
    append(buffer, "kept");
    EXPECT_THROW(buffer.reserveMore(std::numeric_limits<std::size_t>::max()), std::bad_alloc);
    EXPECT_THROW(buffer.reserveMore(std::numeric_limits<std::size_t>::max() / 2), std::bad_alloc);
    EXPECT_EQ(buffer.takeData().view(), "kept");
}

TEST(ByteBuffer, WhenMemoryRunsOutTheBytesStay) {
    if (test::kSanitized) GTEST_SKIP() << "sanitizers need the address space";
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    ByteBuffer buffer;
    append(buffer, test::pattern(0, std::size_t{8} << 20));
    const rlimit tight{std::size_t{256} << 20, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
    EXPECT_THROW(buffer.reserveMore(std::size_t{512} << 20), std::bad_alloc);
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(buffer.takeData().view(), test::pattern(0, std::size_t{8} << 20));
}

}  // namespace
}  // namespace quillmoor::platform
