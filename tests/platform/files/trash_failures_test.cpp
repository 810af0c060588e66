// Each system call of the way into the Trash fails once.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/trash_linux.h"
#include "tests/platform/files/failing_calls.h"
#include "tests/platform/files/file_fixtures.h"

namespace quillmoor::test {
namespace {

constexpr int kMostCalls = 2000;

std::string listingOrNothing(const std::string& path) {
    return somethingAt(path) ? listing(path) : "";
}

// `source` answers the folder, and fills it with the folder "tree".
template <typename Source>
void failEachCall(const Source& source) {
    for (int nth = 1; nth < kMostCalls; ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        const TempFolder folder;
        ::setenv("HOME", folder.makeFolder("home").c_str(), 1);
        const std::string in = source(folder);
        const std::string before = describeTree(in + "/tree");
        const std::string trash = folder / "home/.local/share/Trash";
        const int descriptors = openDescriptors();
        bool happened = false;
        bool moved = false;
        {
            const FailingCalls failure(nth, EIO);
            moved = bool(platform::linux_::recycleToTrash(in, std::nullopt, {"tree"}));
            happened = failure.happened();
        }
        EXPECT_EQ(openDescriptors(), descriptors);
        const bool arrived =
            somethingAt(trash + "/files/tree") && describeTree(trash + "/files/tree") == before;
        const bool stands = somethingAt(in + "/tree") && describeTree(in + "/tree") == before;
        EXPECT_TRUE(arrived != stands);
        if (moved) {
            EXPECT_FALSE(somethingAt(in + "/tree"));
        }
        EXPECT_EQ(listingOrNothing(trash + "/files"), arrived ? "tree" : "");
        EXPECT_EQ(listingOrNothing(trash + "/info"), arrived ? "tree.trashinfo" : "");
        if (testing::Test::HasFailure()) return;
        if (!happened) {
            EXPECT_TRUE(moved);
            EXPECT_GT(nth, 5);
            return;
        }
    }
    FAIL() << "it has no end of calls";
}

TEST(TrashFailures, LeaveAnItemAtOnePlace) {
    failEachCall([](const TempFolder& folder) {
        folder.writeFile("desk/tree/sub/file", "text");
        return folder / "desk";
    });
}

TEST(TrashFailures, LeaveAnItemFromAnotherFileSystemWholeAtOnePlace) {
    const TempFolder mount;
    const OtherFileSystem other(mount);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    failEachCall([&](const TempFolder&) {
        std::filesystem::remove_all(other / "tree");
        makeDeepTree(other / "tree", 2, "sub");
        return other.path();
    });
}

}  // namespace
}  // namespace quillmoor::test
