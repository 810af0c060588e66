// Each system call, and each allocation, of the way into the Trash fails.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <new>

#include "quillmoor/platform/linux/trash/trash_linux.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::test {
namespace {

constexpr int kMostCalls = 2000;

std::string listingOrNothing(const std::string& path) {
    return somethingAt(path) ? listing(path) : "";
}

// Makes the folder "tree" in `source` and returns the path of `source`.
template <typename Source>
void failEachCall(const FailureKind& kind, const Source& source) {
    for (int nth = 1; nth < kMostCalls; ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        const TempFolder folder;
        ::setenv("HOME", folder.makeFolder("home").c_str(), 1);
        const std::string in = source(folder);
        const std::string before = describeTree(in + "/tree");
        const std::string trash = folder / "home/.local/share/Trash";
        const int descriptors = openDescriptors();
        bool happened = false;
        platform::RecycleOutcome outcome;
        {
            const StringList names{"tree"};
            const OneFailure failure(kind, nth);
            try {
                outcome = platform::linux_::recycleToTrash(in, std::nullopt, names);
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(kind.isOfAllocations());
            }
            happened = failure.happened();
        }
        const bool moved = outcome.allMoved;
        if (!moved && !kind.isOfAllocations()) {
            EXPECT_NE(outcome.error.code, 0);
            EXPECT_EQ(outcome.error.description.find("“tree” couldn’t be moved to the Trash: "),
                      0U);
        }
        EXPECT_EQ(openDescriptors(), descriptors);
        const bool arrived =
            somethingAt(trash + "/files/tree") && describeTree(trash + "/files/tree") == before;
        const bool stands = somethingAt(in + "/tree") && describeTree(in + "/tree") == before;
        EXPECT_TRUE(arrived || stands);
        EXPECT_EQ(outcome.remainingCopies.size(), arrived && !moved ? 1U : 0U);
        for (const auto& [item, copy] : outcome.remainingCopies) {
            EXPECT_TRUE(std::filesystem::equivalent(item, in + "/tree"));
            EXPECT_TRUE(std::filesystem::equivalent(copy, trash + "/files/tree"));
        }
        if (moved) {
            EXPECT_FALSE(somethingAt(in + "/tree"));
        }
        EXPECT_EQ(listingOrNothing(trash + "/info"), arrived ? "tree.trashinfo" : "");
        if (!kind.isLasting()) {
            EXPECT_FALSE(arrived && stands);
            EXPECT_EQ(listingOrNothing(trash + "/files"), arrived ? "tree" : "");
        }
        if (testing::Test::HasFailure()) return;
        if (!happened) {
            EXPECT_TRUE(moved);
            EXPECT_GT(nth, 5);
            return;
        }
    }
    FAIL() << "it never stops calling";
}

class TrashFailures : public testing::TestWithParam<FailureKind> {};

INSTANTIATE_TEST_SUITE_P(Of, TrashFailures,
                         testing::Values(FailureKind{FailureKind::Of::Calls, Failing::Once},
                                         FailureKind{FailureKind::Of::Allocations, Failing::Once},
                                         FailureKind{FailureKind::Of::Allocations,
                                                     Failing::FromThenOn}),
                         [](const auto& each) { return each.param.name(); });

TEST_P(TrashFailures, LeaveAnItemAtOnePlace) {
    failEachCall(GetParam(), [](const TempFolder& folder) {
        folder.writeFile("desk/tree/sub/file", "text");
        return folder / "desk";
    });
}

TEST_P(TrashFailures, LeaveAnItemFromAnotherFileSystemWholeAtOnePlace) {
    const TempFolder mount;
    const OtherFileSystem other(mount);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    failEachCall(GetParam(), [&](const TempFolder&) {
        std::filesystem::remove_all(other / "tree");
        makeDeepTree(other / "tree", 2, "sub");
        return other.path();
    });
}

}  // namespace
}  // namespace quillmoor::test
