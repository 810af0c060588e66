#include "quillmoor/platform/attributes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/fake_kernel.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using std::chrono::system_clock;

class MacAttributesTest : public testing::Test {
  protected:
    Attributes& attributes() { return *nativeAttributes(); }
    bool isImmutable(const std::string& path) {
        const auto item = attributes().attributesOfItem(path);
        return item && item->isImmutable;
    }

    test::FakeKernel kernel_;
    test::TempFolder folder_;
    const std::string file_ = folder_.writeFile("file", "text");
};

TEST_F(MacAttributesTest, AreThoseOfALinkItself) {
    const std::string link = folder_.makeLink("link", "file");
    kernel_.flagsOf["file"] = 2;
    struct stat status {};
    ASSERT_EQ(::lstat(link.c_str(), &status), 0);
    const auto item = attributes().attributesOfItem(link);
    ASSERT_TRUE(item);
    EXPECT_EQ(item->size, 4U) << "the length of its target's name";
    EXPECT_FALSE(item->isImmutable);
    const auto since = item->modificationDate.time_since_epoch();
    EXPECT_EQ(std::chrono::duration_cast<std::chrono::seconds>(since).count(),
              status.st_mtim.tv_sec);
    EXPECT_EQ(attributes().attributesOfItem(folder_ / "missing"), std::nullopt);
    kernel_.listError = EIO;
    EXPECT_EQ(attributes().attributesOfItem(file_), std::nullopt);
}

TEST_F(MacAttributesTest, EitherFlagMakesAnItemImmutable) {
    for (const std::uint32_t flag : {0x2U, 0x20000U}) {
        kernel_.flagsOf["file"] = flag;
        EXPECT_TRUE(isImmutable(file_)) << flag;
    }
    kernel_.flagsOf["file"] = 0x4;  // append only
    EXPECT_FALSE(isImmutable(file_));
}

TEST_F(MacAttributesTest, ALockKeepsTheOtherFlags) {
    kernel_.flagsOf["file"] = 0x8040;
    EXPECT_TRUE(attributes().setImmutable(file_, true));
    EXPECT_EQ(kernel_.flagsOf["file"], 0x8042U);
    EXPECT_TRUE(attributes().setImmutable(file_, false));
    EXPECT_EQ(kernel_.flagsOf["file"], 0x8040U);
    kernel_.flagsOf["file"] = 0x20042;
    EXPECT_TRUE(attributes().setImmutable(file_, false));
    EXPECT_EQ(kernel_.flagsOf["file"], 0x40U);
}

TEST_F(MacAttributesTest, AFlagThatHasTheValueIsNotWritten) {
    EXPECT_TRUE(attributes().setImmutable(file_, false));
    kernel_.flagsOf["file"] = 0x20000;
    EXPECT_TRUE(attributes().setImmutable(file_, true));
    for (const auto& call : kernel_.listCalls) EXPECT_TRUE(call.written.empty());
}

TEST_F(MacAttributesTest, ALockIsTheLinksOwn) {
    const std::string link = folder_.makeLink("link", "file");
    EXPECT_TRUE(attributes().setImmutable(link, true));
    EXPECT_EQ(kernel_.flagsOf["link"], 2U);
    EXPECT_EQ(kernel_.flagsOf["file"], 0U);
}

TEST_F(MacAttributesTest, TheCreationDateIsSetToTheNanosecond) {
    const auto date = system_clock::time_point(std::chrono::nanoseconds(1'600'000'000'123'456'789));
    EXPECT_TRUE(attributes().setCreationDate(file_, date));
    EXPECT_EQ(kernel_.creationDates["file"].tv_sec, 1'600'000'000);
    EXPECT_EQ(kernel_.creationDates["file"].tv_nsec, 123'456'789);
    EXPECT_FALSE(attributes().setCreationDate(folder_.makeLink("dangling", "nowhere"), date));
}

TEST_F(MacAttributesTest, ModeAndModificationDateAreTheTargets) {
    const std::string link = folder_.makeLink("link", "file");
    EXPECT_TRUE(attributes().setPosixPermissions(link, 0604));
    EXPECT_TRUE(attributes().setModificationDate(link, system_clock::from_time_t(1'000'000'000)));
    struct stat status {};
    ASSERT_EQ(::stat(file_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0604U);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'000'000'000);
}

TEST_F(MacAttributesTest, AFailureIsTheSystemsWithItsText) {
    kernel_.listError = EPERM;
    const Outcome locked = attributes().setImmutable(file_, true);
    ASSERT_FALSE(locked);
    EXPECT_EQ(locked.error().code, EPERM);
    EXPECT_EQ(locked.error().description,
              "\u201cfile\u201d couldn\u2019t be changed: Operation not permitted");
    const Outcome dated = attributes().setCreationDate(file_, {});
    ASSERT_FALSE(dated);
    EXPECT_EQ(dated.error().code, EPERM);
}

}  // namespace
}  // namespace quillmoor::platform
