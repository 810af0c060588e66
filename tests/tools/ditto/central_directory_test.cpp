#include "tools/ditto/central_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/zip_builder.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

using test::buildZip;
using test::zipFile;

class DittoDirectory : public testing::Test {
  protected:
    InputFile file(const std::string& bytes) {
        return InputFile(folder_.writeFile("a.zip", bytes));
    }
    // Why no directory is found; "" if one is.
    std::string failure(const std::string& bytes) {
        try {
            findDirectory(file(bytes));
        } catch (const Failure& failure) {
            const std::string text = failure.what();
            const std::string name = "“" + folder_ / "a.zip" + "” ";
            EXPECT_TRUE(text.starts_with(name)) << text;
            return text.substr(name.size());
        }
        return {};
    }

    test::TempFolder folder_;
    const std::string zip_ = buildZip({zipFile("a"), zipFile("b")});
};

constexpr char kElsewhere[] =
    "cannot be unpacked: its central directory is not where its end record says";

// Overwrites bytes at a distance from the end.
std::string changed(std::string bytes, std::size_t fromEnd, const std::string& other) {
    return bytes.replace(bytes.size() - fromEnd, other.size(), other);
}

TEST_F(DittoDirectory, IsFoundByTheRecordAtTheEnd) {
    const DirectoryLocation location = findDirectory(file(zip_));
    EXPECT_EQ(location.count, 2U);
    EXPECT_TRUE(location.countIsCut);
    EXPECT_EQ(zip::get32(reinterpret_cast<const unsigned char*>(zip_.data()) + location.offset),
              zip::kCentralSignature);
    EXPECT_EQ(location.offset + location.size, zip_.size() - zip::kEndSize);
}

TEST_F(DittoDirectory, IsFoundByTheWideRecord) {
    const DirectoryLocation narrow = findDirectory(file(zip_));
    const DirectoryLocation location =
        findDirectory(file(buildZip({zipFile("a"), zipFile("b")}, true)));
    EXPECT_EQ(location.count, 2U);
    EXPECT_FALSE(location.countIsCut);
    EXPECT_EQ(location.offset, narrow.offset);
    EXPECT_EQ(location.size, narrow.size);
}

TEST_F(DittoDirectory, IsFoundInFrontOfAComment) {
    const std::string comment = "comment";
    EXPECT_EQ(failure(changed(zip_, 2, std::string("\7\0", 2)) + comment), "");
    EXPECT_EQ(failure(zip_ + comment), "is not a zip archive");
}

TEST_F(DittoDirectory, IsNotFoundInOtherFiles) {
    for (const std::string& bytes : {std::string(), std::string(10, 'x'), std::string(100, '\0'),
                                     zip_.substr(0, zip_.size() - 1)})
        EXPECT_EQ(failure(bytes), "is not a zip archive") << bytes.size();
}

TEST_F(DittoDirectory, MustBeWhereTheEndRecordSays) {
    EXPECT_EQ(failure("x" + zip_), kElsewhere);
    EXPECT_EQ(failure(changed(zip_, 6, "\xff")), kElsewhere);
    EXPECT_EQ(failure(changed(zip_, 10, "\xff")), kElsewhere);
}

TEST_F(DittoDirectory, IsOfOneVolume) {
    for (const std::size_t field : {18U, 16U, 14U})
        EXPECT_EQ(failure(changed(zip_, field, "\1")),
                  "cannot be unpacked: it is one of several volumes")
            << field;
}

TEST_F(DittoDirectory, IsReadInPiecesToItsEnd) {
    constexpr std::size_t kSize = 200'000;
    std::string bytes(kSize + 20, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i % 251);
    const InputFile archive = file(bytes);
    DirectoryReader reader(archive, {10, kSize, 0, false});
    std::string read;
    for (const std::size_t size : {46U, 0U, 100U, 65'536U, 1U, 100'000U, 34'317U}) {
        EXPECT_FALSE(reader.atEnd());
        const auto piece = reader.take(size);
        ASSERT_EQ(piece.size(), size);
        read.append(piece.begin(), piece.end());
    }
    EXPECT_TRUE(reader.atEnd());
    EXPECT_TRUE(read == bytes.substr(10, kSize));
    EXPECT_THROW(reader.take(1), Failure);
}

}  // namespace
}  // namespace quillmoor::ditto
