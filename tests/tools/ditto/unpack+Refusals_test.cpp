// Damaged and hostile archives.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>

#include "quillmoor/platform/posix/fs/tree_remove_posix.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/tools/ditto/unpack_fixture.h"
#include "tools/ditto/unpack.h"

namespace quillmoor::ditto {
namespace {

TEST_F(DittoUnpack, NamesThatLeadOutAreRefusedWhole) {
    expectRefusal(buildZip({zipFile("good"), zipFile("../escaped")}), "holds “..”");
    expectRefusal(buildZip({zipFile(folder_ / "escaped")}), "absolute");
    expectRefusal(buildZip({zipFile("a/../../escaped")}), "holds “..”");
}

TEST_F(DittoUnpack, TheMessageNamesArchiveAndEntryEscaped) {
    const DittoResult result = unpack(buildZip({zipFile("../\x1b[2J\n")}));
    EXPECT_NE(result.errors.find("a.zip: “../\\x1b[2J\\x0a”: its name holds"), std::string::npos)
        << result.errors;
}

TEST_F(DittoUnpack, LinksThatLeadOutAreRefusedWhole) {
    expectRefusal(buildZip({zipLink("l", "/etc")}), "absolute path");
    expectRefusal(buildZip({zipLink("l", "../x")}), "leads out");
    expectRefusal(buildZip({zipLink("l", "l")}), "circle");
    expectRefusal(buildZip({zipFolder("d/"), zipLink("d/up", ".."), zipLink("out", "d/up/../x")}),
                  "leads out");
    expectRefusal(buildZip({zipLink("l", "")}), "without a target");
    expectRefusal(buildZip({zipLink("l", std::string(5000, 'x'))}), "too long a target");
    expectRefusal(buildZip({zipLink("l", std::string("a\0b", 3))}), "NUL");
}

TEST_F(DittoUnpack, NothingIsWrittenThroughALink) {
    expectRefusal(buildZip({zipLink("l", "."), zipFile("l/x")}), "through a link");
    expectRefusal(buildZip({zipFile("l/x"), zipLink("l", ".")}), "through a link");
}

TEST_F(DittoUnpack, DuplicateNamesAreRefused) {
    expectRefusal(buildZip({zipFile("a"), zipFile("a")}), "twice");
    expectRefusal(buildZip({zipFile("a"), zipFolder("a/")}), "twice");
    expectRefusal(buildZip({zipFile("a"), zipFile("a/b")}), "inside a file");
}

TEST_F(DittoUnpack, UnusableEntriesAreRefused) {
    ZipItem item = zipFile("a");
    item.flags = 1;
    expectRefusal(buildZip({item}), "encrypted");
    item.flags = 0;
    item.method = 12;
    expectRefusal(buildZip({item}), "method is unknown");
    item.method.reset();
    item.mode = 0020666;
    expectRefusal(buildZip({item}), "neither a file nor a folder nor a link");
    item.mode = 0100644;
    item.localName = "b";
    expectRefusal(buildZip({item}), "contradict");
    expectRefusal(buildZip({zipFile(std::string("a\0b", 3))}), "NUL");
    expectRefusal(buildZip({zipFile("")}), "no name");
    expectRefusal("no zip", "not a zip archive");
}

TEST_F(DittoUnpack, TwoEntriesOfTheSameBytesAreRefused) {
    ZipItem one = zipFile("same", std::string(1000, 'x'));
    ZipItem two = one;
    two.offset = 0;
    expectRefusal(buildZip({one, two}), "shares its bytes");
}

TEST_F(DittoUnpack, TheSizeLimitCanBeChanged) {
    const std::string path = archive(buildZip({zipFile("a", std::string(100, 'x'))}));
    const DittoResult result = runDitto({"-xk", "--max-size", "99", path, dest_});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("more than 99 bytes"), std::string::npos) << result.errors;
    EXPECT_EQ(itemsLeft(), 0U);
    EXPECT_EQ(runDitto({"-xk", "--max-size", "100", path, dest_}).status, 0);
}

TEST_F(DittoUnpack, ContentThatIsNotAsDeclaredLeavesNothing) {
    ZipItem item = zipFile("d/a", std::string(1000000, 'x'));
    item.deflated = true;
    item.size = 999999;
    expectRefusal(buildZip({zipFile("first"), item}), "holds more than its declared size");
    item.size = 1000001;
    expectRefusal(buildZip({zipFile("first"), item}), "holds less than its declared size");
    item.size.reset();
    item.crc = 1;
    expectRefusal(buildZip({zipFile("first"), item}), "checksum");
    ZipItem stored = zipFile("b");
    stored.crc = 1;
    expectRefusal(buildZip({stored}), "checksum");
}

TEST_F(DittoUnpack, SmallContentThatOutgrowsItsSizeLeavesNothing) {
    ZipItem item = zipFile("a", std::string(300000, 'x'));
    item.deflated = true;
    item.size = 10;
    expectRefusal(buildZip({item}), "holds more than its declared size");
}

TEST_F(DittoUnpack, BytesBehindTheContentAreDamage) {
    ZipItem item = zipFile("a", test::deflated("short") + "tail");
    item.method = 8;
    item.size = 5;
    item.crc = 0x8f2890a2;  // never reached: the tail is noticed first
    expectRefusal(buildZip({item}), "data follows its end");
}

TEST_F(DittoUnpack, ADamagedStreamLeavesNothing) {
    ZipItem item = zipFile("a", std::string(500, '\xff'));
    item.method = 8;
    item.size = 500;
    expectRefusal(buildZip({item}), "cannot be unpacked");
}

TEST_F(DittoUnpack, ALargeFileWithAWrongChecksumLeavesNothing) {
    ZipItem item = zipFile("large", std::string(9U << 20U, 'x'));
    item.deflated = true;
    item.crc = 1;
    expectRefusal(buildZip({item}), "checksum");
}

TEST_F(DittoUnpack, ALocalHeaderThatContradictsTheDirectoryIsRefused) {
    ZipItem item = zipFile("a");
    item.localSize = 8;
    expectRefusal(buildZip({item}), "its two headers contradict each other");
    item.localSize.reset();
    item.localCrc = 1;
    expectRefusal(buildZip({item}), "its two headers contradict each other");
}

// With any byte of an archive changed, all is unpacked or nothing, and nothing elsewhere.
TEST_F(DittoUnpack, AnyChangedByteGivesAllOrNothing) {
    ZipItem packed = zipFile("d/packed", std::string(50, 'x'));
    packed.deflated = true;
    const std::string good =
        buildZip({zipFolder("d/"), packed, zipLink("l", "d/../d"), zipFile("f")});
    const std::size_t outside = test::describeTree(folder_.path()).size();
    for (std::size_t i = 0; i < good.size(); ++i) {
        std::string bytes = good;
        bytes[i] = static_cast<char>(bytes[i] ^ "\x01\x2f\x7f\xff"[i % 4]);
        Options options;
        options.sources = {archive(bytes)};
        options.destination = dest_;
        bool done = true;
        try {
            ditto::unpack(options, 022);
        } catch (const std::exception&) {
            done = false;
        }
        ASSERT_EQ(somethingAt(dest_), done) << i;
        // Also folders whose mode forbids it.
        const platform::posix::Descriptor made(
            ::open(dest_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (made) {
            EXPECT_EQ(platform::posix::emptyFolder(made.get()), 0);
        }
        fs::remove(dest_);
        ASSERT_EQ(test::describeTree(folder_.path()).size(), outside + 2) << i;
    }
}

}  // namespace
}  // namespace quillmoor::ditto
