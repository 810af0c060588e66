// System calls fail while several threads work on a tree.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::test {
namespace {

// Enough for others to be called in.
std::string makeTree(const TempFolder& folder) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 40; ++j)
            folder.writeFile("in/tree/" + std::to_string(i) + "/sub/" + std::to_string(j), "ten");
    for (int j = 0; j < 90; ++j) folder.writeFile("in/tree/" + std::to_string(j) + " file", "ten");
    folder.makeFolder("out");
    return folder / "in/tree";
}

struct Round {
    std::string source;
    std::string before;
    std::string destination;
};

using Operation = std::function<Outcome(const Round&)>;
using Check = std::function<void(const Round&, bool succeeded)>;

// Runs `operation` with one call failing, each time a later one, until it has no more calls.
void failSomeCalls(Failing failing, const Operation& operation, const Check& check) {
    int step = 1;
    for (int nth = 1; nth < 100'000; nth += step, step += step / 3 + 1) {
        SCOPED_TRACE("call " + std::to_string(nth));
        const TempFolder folder;
        const std::string source = makeTree(folder);
        const Round round{source, describeTree(source), folder / "out/tree"};
        const int descriptors = openDescriptors();
        bool happened = false;
        bool succeeded = false;
        {
            const FailingCalls failure(nth, EIO, failing);
            succeeded = static_cast<bool>(operation(round));
            happened = failure.happened();
        }
        EXPECT_EQ(openDescriptors(), descriptors);
        check(round, succeeded);
        if (testing::Test::HasFailure()) return;
        if (!happened) {
            EXPECT_TRUE(succeeded);
            EXPECT_GT(nth, 100);
            return;
        }
    }
    FAIL() << "the operation never stops calling";
}

class TreeFailures : public testing::TestWithParam<Failing> {
  protected:
    static platform::FileTree& trees() { return *platform::nativeFileTree(); }
};

INSTANTIATE_TEST_SUITE_P(Calls, TreeFailures, testing::Values(Failing::Once, Failing::FromThenOn),
                         [](const auto& each) {
                             return each.param == Failing::Once ? "Once" : "FromThenOn";
                         });

TEST_P(TreeFailures, OfARemovalAreNeverCalledASuccess) {
    failSomeCalls(
        GetParam(),
        [](const Round& round) { return platform::nativeFileManager()->removeItem(round.source); },
        [](const Round& round, bool succeeded) {
            EXPECT_EQ(succeeded, !somethingAt(round.source));
        });
}

TEST_P(TreeFailures, OfACopyLeaveTheSourceAndNothingHalf) {
    failSomeCalls(
        GetParam(),
        [](const Round& round) {
            return trees().copy(round.source, round.destination, nullptr, {});
        },
        [](const Round& round, bool succeeded) {
            EXPECT_EQ(describeTree(round.source), round.before);
            EXPECT_EQ(somethingAt(round.destination), succeeded);
            if (succeeded) {
                EXPECT_EQ(describeTree(round.destination), round.before);
            }
            const std::string parent = round.destination.substr(0, round.destination.rfind('/'));
            if (GetParam() == Failing::Once) {
                EXPECT_EQ(listing(parent), succeeded ? "tree" : "");
            }
        });
}

TEST_P(TreeFailures, OfASizeMakeItSmallerAtMost) {
    failSomeCalls(
        GetParam(),
        [](const Round& round) {
            const std::uint64_t size = trees().size(round.source, {});
            EXPECT_LE(size, 630U);
            return size == 630 ? Outcome::success() : Outcome::failure({EIO, "less"});
        },
        [](const Round&, bool) {});
}

TEST_P(TreeFailures, OfAMatchMakeItSmallerAtMost) {
    failSomeCalls(
        GetParam(),
        [](const Round& round) {
            const StringList found = trees().match(
                {round.source, round.source + "/0/sub", round.source + "/1/sub"}, "*1*");
            EXPECT_LE(found.size(), 45U);
            return found.size() == 45 ? Outcome::success() : Outcome::failure({EIO, "fewer"});
        },
        [](const Round&, bool) {});
}

}  // namespace
}  // namespace quillmoor::test
