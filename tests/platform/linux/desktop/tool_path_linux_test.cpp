#include "quillmoor/platform/linux/desktop/tool_path_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/ground/programs_linux.h"
#include "quillmoor/platform/platform.h"
#include "tests/platform/linux/support/print_bundle.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

TEST(ToolPath, EveryOtherToolIsWhereItSays) {
    for (const char* path : {"/usr/bin/touch", "/bin/mv", "/usr/bin/dittos", "ditto", "", "/"})
        EXPECT_EQ(toolPath(path), path);
}

TEST(ToolPath, OwnToolsAreLookedForInTheInstallationAndBesideTheProgram) {
    const OptionalPath program = native().bundles->mainBundle()->executablePath();
    ASSERT_TRUE(program.has_value());
    const std::string prefix = deleteLastPathComponent(deleteLastPathComponent(*program));
    const StringList places = ownTools("ditto");
    EXPECT_THAT(places, testing::ElementsAre(testing::EndsWith("/quillmoor/ditto"),
                                             prefix + "/libexec/quillmoor/ditto"));
    EXPECT_THAT(places, testing::Each(testing::StartsWith("/")));
}

// A program of this library, somewhere, and tools beside it.
class DittosPath : public testing::Test {
  protected:
    void SetUp() override {
        for (const std::string& place : {std::string(kDitto), ownTools("ditto").front()}) {
            if (isProgram(place)) GTEST_SKIP() << place << " is installed";
        }
    }

    std::string makeDitto(const std::string& name) {
        const std::string path = folder_.writeFile(name, "#!/bin/sh\n");
        ::chmod(path.c_str(), 0755);
        return test::canonicalPath(path);
    }

    // Where the library in a program at `name` takes ditto from.
    std::string askedIn(const std::string& name) {
        return test::printedByCopy(folder_ / name, "stay").back();
    }

    static constexpr char kDitto[] = "/usr/bin/ditto";
    test::TempFolder folder_;
};

TEST_F(DittosPath, IsBesideAProgramThatWasInstalledElsewhere) {
    const std::string ditto = makeDitto("libexec/quillmoor/ditto");
    EXPECT_EQ(askedIn("bin/a"), ditto);
}

TEST_F(DittosPath, IsTheBundlesOwnBeforeEveryOther) {
    makeDitto("A.app/Contents/libexec/quillmoor/ditto");
    const std::string ditto = makeDitto("A.app/Contents/Linux/ditto");
    EXPECT_EQ(askedIn("A.app/Contents/Linux/a"), ditto);
}

TEST_F(DittosPath, IsNeverWhereOthersCanWrite) {
    makeDitto("libexec/quillmoor/ditto");
    ASSERT_EQ(::chmod((folder_ / "libexec").c_str(), 0777), 0);
    EXPECT_EQ(askedIn("bin/a"), kDitto);
}

TEST_F(DittosPath, StaysAsItIsWithoutOne) {
    folder_.writeFile("libexec/quillmoor/ditto", "not executable");
    EXPECT_EQ(askedIn("bin/a"), kDitto);
}

}  // namespace
}  // namespace quillmoor::platform::linux_
