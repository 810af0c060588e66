#include "quillmoor/platform/finder_info.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/fake_core_foundation.h"
#include "tests/platform/macos/fakes/fake_core_services.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using test::FakeObjects;

// A name that is not to be found as long as it lives.
const char* missingCall = "";
class WithoutCall {
  public:
    explicit WithoutCall(const char* name) {
        missingCall = name;
        native_ = macos::exchangeCallFinder([](const char* wanted) -> void* {
            return std::strcmp(wanted, missingCall) == 0 ? nullptr : native_(wanted);
        });
    }
    ~WithoutCall() { macos::exchangeCallFinder(native_); }
    WithoutCall(const WithoutCall&) = delete;
    WithoutCall& operator=(const WithoutCall&) = delete;

  private:
    static macos::CallFinder native_;
};
macos::CallFinder WithoutCall::native_ = nullptr;

class MacFinderInfoTest : public testing::Test {
  protected:
    FinderInfo& finder() { return *nativeFinderInfo(); }
    FileReference reference(const std::string& path) {
        FileReference made;
        EXPECT_TRUE(finder().makeReference(path, made)) << path;
        return made;
    }
    // As the system stores them, in this processor's byte order.
    void setFlags(const std::string& path, std::uint16_t flags) {
        std::memcpy(services_.infoOf[path].finderInfo + 8, &flags, sizeof flags);
    }
    std::uint16_t flagsOf(const std::string& path) {
        std::uint16_t flags = 0;
        std::memcpy(&flags, services_.infoOf[path].finderInfo + 8, sizeof flags);
        return flags;
    }

    test::FakeCoreServices services_;
    test::TempFolder folder_;
    const std::string file_ = folder_.writeFile("file");
    const int before_ = FakeObjects::alive();
};

TEST_F(MacFinderInfoTest, ReadsNodeFlagsAndFinderInformationOnly) {
    setFlags(file_, 0x1206);
    services_.infoOf[file_].nodeFlags = 0x0001;
    CatalogInfo info;
    ASSERT_EQ(finder().catalogInfo(reference(file_), info), 0);
    EXPECT_EQ(info.finderFlags(), 0x1206);
    EXPECT_EQ(info.finderInfo[8], 0x12);
    EXPECT_EQ(info.finderInfo[9], 0x06);
    EXPECT_EQ(info.nodeFlags, 0x0001);
    EXPECT_EQ(services_.wanted, std::vector<FSCatalogInfoBitmap>{0x00000802});
    ASSERT_EQ(finder().catalogInfo(reference(folder_.path()), info), 0);
    EXPECT_EQ(info.nodeFlags, CatalogInfo::kNodeIsDirectory);
}

TEST_F(MacFinderInfoTest, OnlyTheChangedFlagBitsChange) {
    FSCatalogInfo& stored = services_.infoOf[file_];
    for (std::size_t i = 0; i < sizeof stored.finderInfo; ++i)
        stored.finderInfo[i] = static_cast<UInt8>(0xA0 + i);
    stored.nodeFlags = 0x40;
    setFlags(file_, 0x1203);
    const FSCatalogInfo before = stored;
    CatalogInfo info;
    ASSERT_EQ(finder().catalogInfo(reference(file_), info), 0);
    info.setFinderFlags(static_cast<std::uint16_t>((info.finderFlags() & 0xFFF1) | 0x000C));
    ASSERT_EQ(finder().setFinderInfo(reference(file_), info), 0);
    EXPECT_EQ(services_.given, std::vector<FSCatalogInfoBitmap>{0x00000800});
    EXPECT_EQ(flagsOf(file_), 0x120D);
    setFlags(file_, 0x1203);
    EXPECT_EQ(std::memcmp(&before, &stored, sizeof before), 0);
}

TEST_F(MacFinderInfoTest, ReturnsTheSystemsStatus) {
    const FileReference made = reference(file_);
    CatalogInfo info;
    info.setFinderFlags(6);
    services_.getStatus = -36;
    EXPECT_EQ(finder().catalogInfo(made, info), -36);
    EXPECT_EQ(info.finderFlags(), 6);
    services_.setStatus = -61;
    EXPECT_EQ(finder().setFinderInfo(made, info), -61);
    EXPECT_EQ(flagsOf(file_), 0);
}

TEST_F(MacFinderInfoTest, AReferenceToAnotherItemIsNotFollowed) {
    const FileReference made = reference(file_);
    std::filesystem::rename(file_, folder_ / "elsewhere");
    folder_.writeFile("file");
    CatalogInfo info;
    EXPECT_EQ(finder().pathOfReference(made), std::nullopt);
    EXPECT_EQ(finder().catalogInfo(made, info), -43);
    EXPECT_EQ(finder().setFinderInfo(made, info), -43);
    EXPECT_EQ(finder().sendUpdateEvent(made), -43);
    EXPECT_TRUE(services_.wanted.empty());
    EXPECT_TRUE(services_.events.empty());
}

TEST_F(MacFinderInfoTest, ThePathOfAReferenceIsTheSystems) {
    EXPECT_EQ(finder().pathOfReference(reference(file_)), file_);
    EXPECT_EQ(services_.calls.back(), "CFURLCreateFromFSRef");
}

TEST_F(MacFinderInfoTest, EveryObjectIsReleased) {
    CatalogInfo info;
    const FileReference made = reference(file_);
    finder().pathOfReference(made);
    finder().catalogInfo(made, info);
    finder().setFinderInfo(made, info);
    finder().sendUpdateEvent(made);
    EXPECT_EQ(FakeObjects::alive(), before_);
    EXPECT_EQ(FakeObjects::wronglyReleased(), 0);
}

TEST_F(MacFinderInfoTest, WithoutAnObsoleteCallWhatNeedsItFails) {
    const FileReference made = reference(file_);
    CatalogInfo info;
    FileReference other;
    {
        const WithoutCall without("CFURLGetFSRef");
        EXPECT_FALSE(finder().makeReference(file_, other));
        EXPECT_NE(finder().catalogInfo(made, info), 0);
    }
    {
        const WithoutCall without("CFURLCreateFromFSRef");
        EXPECT_EQ(finder().pathOfReference(made), std::nullopt);
    }
    {
        const WithoutCall without("FSGetCatalogInfo");
        EXPECT_EQ(finder().catalogInfo(made, info), -1);
    }
    {
        const WithoutCall without("FSSetCatalogInfo");
        EXPECT_EQ(finder().setFinderInfo(made, info), -1);
    }
    for (const char* const name : {"FSNewAliasMinimal", "DisposeHandle"}) {
        const WithoutCall without(name);
        EXPECT_EQ(finder().sendUpdateEvent(made), -1);
        EXPECT_EQ(services_.aliases, 0);
    }
}

}  // namespace
}  // namespace quillmoor::platform
