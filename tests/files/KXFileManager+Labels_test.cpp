#include <errno.h>
#include <sys/xattr.h>

#include "tests/files/files_fixture.h"

namespace quillmoor {
namespace {

class Labels : public test::FilesTest {
  protected:
    // All items share one set of flags.
    class Finder : public test::ForwardingFinderInfo {
      public:
        platform::CatalogInfo info;
        std::int32_t status = 0;
        int written = 0;
        std::int32_t catalogInfo(const platform::FileReference&,
                                 platform::CatalogInfo& result) override {
            result = info;
            return status;
        }
        std::int32_t setFinderInfo(const platform::FileReference&,
                                   const platform::CatalogInfo& changed) override {
            info = changed;
            ++written;
            return -1;
        }
    };
    Labels() { platform_->finderInfo = &finder_; }
    Finder finder_;
    std::string file_ = folder_.writeFile("file");
};

TEST_F(Labels, AreSetWithoutChangingOtherFlags) {
    finder_.info.setFinderFlags(0x4101);
    finder_.info.finderInfo[3] = 'x';
    KXFileManager::setFinderColorIndex(13, file_);
    EXPECT_EQ(finder_.info.finderFlags(), 0x4101 | 12);
    EXPECT_EQ(finder_.info.finderInfo[3], 'x');
    KXFileManager::setFinderColorIndex(0xFFF4, file_);
    EXPECT_EQ(finder_.info.finderFlags(), 0x4101 | 4);
}

TEST_F(Labels, AreRemovedByZero) {
    finder_.info.setFinderFlags(0x000F);
    KXFileManager::setFinderColorIndex(0, file_);
    EXPECT_EQ(finder_.info.finderFlags(), 1);
}

TEST_F(Labels, OfAMissingOrUnreadableItemAreZero) {
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(folder_ / "gone"), 0);
    EXPECT_EQ(KXFileManager::finderColorForPath(folder_ / "gone"), std::nullopt);
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(std::nullopt), 0);
    finder_.info.setFinderFlags(4);
    finder_.status = -36;
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(file_), 0);
    KXFileManager::setFinderColorIndex(2, file_);
    KXFileManager::setFinderColorIndex(2, std::nullopt);
    KXFileManager::setFinderColorIndex(2, folder_ / "gone");
    EXPECT_EQ(finder_.written, 0);
}

TEST_F(Labels, AreReadWithAllOtherFlags) {
    finder_.info.setFinderFlags(0xFFFF);
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(file_), 0xFFFF);
    finder_.info.setFinderFlags(0x0100 | 4);  // has been inited, green
    EXPECT_GT(KXFileManager::finderColorIndexForPath(file_), 15);
    EXPECT_EQ(KXFileManager::finderColorForPath(file_), std::nullopt);
}

TEST_F(Labels, HaveTheirColours) {
    const struct {
        int value;
        FinderColor color;
    } rows[] = {{2, {0.0, 0.0, 0.72, 1.0}},      {4, {0.2056, 0.5, 0.85, 1.0}},
                {6, {0.7917, 0.26, 0.86, 1.0}},  {8, {0.5789, 0.56, 0.98, 1.0}},
                {10, {0.1388, 0.54, 0.95, 1.0}}, {12, {0.0083, 0.54, 1.0, 1.0}},
                {14, {0.0888, 0.52, 0.98, 1.0}}};
    for (const auto& row : rows) {
        EXPECT_EQ(KXFileManager::finderColorForColorIndex(row.value), row.color) << row.value;
        EXPECT_EQ(KXFileManager::finderColorForColorIndex(row.value + 1), row.color) << row.value;
        finder_.info.setFinderFlags(static_cast<std::uint16_t>(row.value));
        EXPECT_EQ(KXFileManager::finderColorForPath(file_), row.color) << row.value;
    }
    for (const int none : {0, 1, -2, 16, 1000})
        EXPECT_EQ(KXFileManager::finderColorForColorIndex(none), std::nullopt) << none;
}

TEST_F(Labels, OfARealItemAreStored) {
    const std::string probe = folder_.writeFile("probe");
    if (::setxattr(probe.c_str(), "user.test", "", 0, 0) != 0 && errno == EOPNOTSUPP)
        GTEST_SKIP() << "this file system keeps no extended attributes";
    platform::FinderInfo& finder = *platform::native().finderInfo;
    platform_->finderInfo = &finder;
    KXFileManager::setFinderColorIndex(13, file_);
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(file_), 12);
    const platform::FileReference reference = KXFileManager::stringToFSRef(file_);
    platform::CatalogInfo info;
    ASSERT_EQ(finder.catalogInfo(reference, info), 0);
    info.setFinderFlags(0x0101 | 4);  // has been inited, on the desktop, green
    ASSERT_EQ(finder.setFinderInfo(reference, info), 0);
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(file_), 0x0105);
    EXPECT_EQ(KXFileManager::finderColorForPath(file_), std::nullopt);
    KXFileManager::setFinderColorIndex(0, file_);
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(file_), 0x0101);
    KXFileManager::setFinderColorIndex(13, file_);
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(file_), 0x0101 | 12);
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(folder_ / "gone"), 0);
    EXPECT_EQ(KXFileManager::finderColorForPath(folder_ / "gone"), std::nullopt);
}

TEST_F(Labels, ReportNothingWhateverFails) {
    test::WholeConsole console;
    platform_->console = &console;
    startLog();
    KXFileManager::setFinderColorIndex(2, file_);
    EXPECT_EQ(finder_.written, 1);  // and failed
    finder_.status = -36;
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(file_), 0);
    KXFileManager::setFinderColorIndex(2, file_);
    KXFileManager::setFinderColorIndex(2, folder_ / "gone");
    EXPECT_EQ(KXFileManager::finderColorForPath(folder_ / "gone"), std::nullopt);
    EXPECT_THAT(logged(), ::testing::IsEmpty());
    EXPECT_THAT(console.lines, ::testing::IsEmpty());
}

}  // namespace
}  // namespace quillmoor
