// Each system call and each allocation of each operation fails once, and in another round that one
// and all after it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <new>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::test {
namespace {

constexpr int kMostCalls = 5000;

// A small tree of every kind.
std::string makeTree(const TempFolder& folder) {
    folder.writeFile("in/tree/sub/file", "contents");
    folder.writeFile("in/tree/other", std::string(3000, 'x'));
    folder.makeLink("in/tree/link", "sub");
    ::mkfifo((folder / "in/tree/fifo").c_str(), 0600);
    EXPECT_EQ(::truncate((folder / "in/tree/other").c_str(), 200000), 0);
    ::chmod((folder / "in/tree/other").c_str(), 0444);
    folder.makeFolder("out");
    return folder / "in/tree";
}

struct Round {
    const TempFolder& folder;
    std::string source;       // a fresh tree, in the folder "in"
    std::string before;       // described
    std::string destination;  // nothing, in a folder where nothing else is
};

using Operation = std::function<Outcome(const Round&)>;
using Check = std::function<void(const Round&, bool succeeded)>;

// Runs `operation` with the first call failing, then the second, until it has no more calls.
// `outFolder` is the folder to make the new items in, `mode` that of a folder in the tree.
void failEachCall(const FailureKind& kind, const Operation& operation, const Check& check,
                  const std::string& outFolder = "", mode_t mode = 0755) {
    for (int nth = 1; nth < kMostCalls; ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        const TempFolder folder;
        const std::string source = makeTree(folder);
        ASSERT_EQ(::chmod((source + "/sub").c_str(), mode), 0);
        const std::string out = outFolder.empty() ? folder / "out" : outFolder;
        const Round round{folder, source, describeTree(source), out + "/tree"};
        const int descriptors = openDescriptors();
        bool happened = false;
        bool succeeded = false;
        bool threw = false;
        {
            const OneFailure failure(kind, nth);
            try {
                const Outcome outcome = operation(round);
                succeeded = static_cast<bool>(outcome);
                // There may be no memory for a text.
                EXPECT_TRUE(succeeded || kind.isOfAllocations() ||
                            !outcome.error().description.empty());
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            happened = failure.happened();
        }
        EXPECT_TRUE(!threw || kind.isOfAllocations());
        EXPECT_EQ(openDescriptors(), descriptors);
        check(round, succeeded);
        if (somethingAt(round.destination)) {
            EXPECT_TRUE(platform::nativeFileManager()->removeItem(round.destination));
        }
        if (testing::Test::HasFailure()) return;
        if (!happened) {
            EXPECT_TRUE(succeeded);
            EXPECT_GT(nth, kind.isOfAllocations() ? 1 : 3);
            return;
        }
    }
    FAIL() << "the operation never stops calling";
}

std::string parentOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

class FileFailures : public testing::TestWithParam<FailureKind> {
  protected:
    // The service itself is made with its first use, not by what is tested.
    FileFailures() { files(); }
    static platform::FileManager& files() { return *platform::nativeFileManager(); }
    static bool isTidy() { return !GetParam().isLasting(); }
};

INSTANTIATE_TEST_SUITE_P(Of, FileFailures,
                         testing::Values(FailureKind{FailureKind::Of::Calls, Failing::Once},
                                         FailureKind{FailureKind::Of::Calls, Failing::FromThenOn},
                                         FailureKind{FailureKind::Of::Allocations, Failing::Once},
                                         FailureKind{FailureKind::Of::Allocations,
                                                     Failing::FromThenOn}),
                         [](const auto& each) { return each.param.name(); });

TEST_P(FileFailures, OfARemovalAreNeverCalledASuccess) {
    failEachCall(
        GetParam(), [](const Round& round) { return files().removeItem(round.source); },
        [](const Round& round, bool succeeded) {
            EXPECT_EQ(succeeded, !somethingAt(round.source));
        });
}

TEST_P(FileFailures, OfACopyLeaveTheSourceAndNothingHalf) {
    failEachCall(
        GetParam(),
        [](const Round& round) { return files().copyItem(round.source, round.destination); },
        [](const Round& round, bool succeeded) {
            EXPECT_EQ(describeTree(round.source), round.before);
            EXPECT_EQ(somethingAt(round.destination), succeeded);
            if (succeeded) {
                EXPECT_EQ(describeTree(round.destination), round.before);
            }
            if (isTidy()) {
                EXPECT_EQ(listing(parentOf(round.destination)), succeeded ? "tree" : "");
            }
            ::chmod((round.destination + "/sub").c_str(), 0755);
        },
        "", 0555);
}

void expectMoved(const Round& round, bool succeeded, bool tidy) {
    const bool sourceStands = somethingAt(round.source);
    EXPECT_EQ(succeeded, !sourceStands);
    EXPECT_EQ(somethingAt(round.destination), succeeded);
    EXPECT_EQ(describeTree(succeeded ? round.destination : round.source), round.before);
    if (tidy) {
        EXPECT_EQ(listing(parentOf(round.destination)), succeeded ? "tree" : "");
        EXPECT_EQ(listing(parentOf(round.source)), succeeded ? "" : "tree");
    }
}

TEST_P(FileFailures, OfAMoveLeaveTheItemAtOnePlace) {
    failEachCall(
        GetParam(),
        [](const Round& round) { return files().moveItem(round.source, round.destination); },
        [](const Round& round, bool succeeded) { expectMoved(round, succeeded, isTidy()); });
}

TEST_P(FileFailures, OfAMoveAcrossFileSystemsLoseNothing) {
    const TempFolder mount;
    const OtherFileSystem other(mount);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    bool copyRemains = false;
    failEachCall(
        GetParam(),
        [&](const Round& round) {
            copyRemains = false;
            try {
                Outcome outcome = files().moveItem(round.source, round.destination);
                copyRemains = !outcome && outcome.error().copyRemains;
                return outcome;
            } catch (const std::exception&) {
                ADD_FAILURE() << "an exception leaves the move";
                throw;
            }
        },
        [&](const Round& round, bool succeeded) {
            const bool whole =
                somethingAt(round.source) && describeTree(round.source) == round.before;
            const bool arrived =
                somethingAt(round.destination) && describeTree(round.destination) == round.before;
            EXPECT_TRUE(whole || arrived);
            EXPECT_EQ(somethingAt(round.destination), arrived);
            EXPECT_EQ(copyRemains, arrived && !succeeded);
            if (succeeded) {
                EXPECT_FALSE(somethingAt(round.source));
            }
            if (isTidy()) {
                EXPECT_EQ(listing(parentOf(round.destination)), arrived ? "tree" : "");
            }
            if (isTidy()) {
                EXPECT_FALSE(whole && arrived);
            }
            // What is left of a failed copy, for the next round.
            const std::string left = listing(parentOf(round.destination));
            if (!left.empty()) {
                // A complete copy is under the name that was asked for.
                EXPECT_TRUE(arrived || !GetParam().isOfAllocations() ||
                            describeTree(parentOf(round.destination) + "/" + left) != round.before);
                EXPECT_TRUE(files().removeItem(parentOf(round.destination) + "/" + left));
            }
        },
        other.path());
}

TEST_P(FileFailures, OfAnAtomicWriteLeaveTheOldFileOrTheNewOne) {
    failEachCall(
        GetParam(),
        [](const Round& round) {
            return files().writeAtomically(round.source + "/sub/file", "new");
        },
        [](const Round& round, bool succeeded) {
            EXPECT_EQ(readFile(round.source + "/sub/file"), succeeded ? "new" : "contents");
            if (isTidy()) {
                EXPECT_EQ(listing(round.source + "/sub"), "file");
            }
        });
}

TEST_P(FileFailures, OfAFolderMadeAreNeverCalledASuccess) {
    failEachCall(
        GetParam(),
        [](const Round& round) {
            return files().createDirectoryWithIntermediates(round.destination + "/a/b");
        },
        [](const Round& round, bool succeeded) {
            struct stat status {};
            const bool stands = ::stat((round.destination + "/a/b").c_str(), &status) == 0;
            EXPECT_TRUE(stands || !succeeded);
        });
}

TEST_P(FileFailures, OfAListingAreNeverAShorterList) {
    failEachCall(
        GetParam(),
        [](const Round& round) {
            const auto names = files().contentsOfDirectory(round.source);
            if (!names) return Outcome::failure({EIO, "nil"});
            EXPECT_EQ(names->size(), 4U);
            return Outcome::success();
        },
        [](const Round&, bool) {});
}

// As on a file system that knows no renaming without replacing.
TEST_P(FileFailures, OfAMoveOnAnOldFileSystemLeaveTheItemAtOnePlace) {
    using platform::posix::SystemCalls;
    static SystemCalls old;
    old = platform::posix::systemCalls();
    old.renameNoReplace = [](int, const char*, int, const char*) {
        errno = EINVAL;
        return -1;
    };
    const SystemCalls* before = platform::posix::exchangeSystemCalls(&old);
    for (const char* name : {"", "/other"}) {
        failEachCall(
            GetParam(),
            [name](const Round& round) {
                return files().moveItem(round.source + name, round.destination);
            },
            [name](const Round& round, bool succeeded) {
                EXPECT_EQ(succeeded, !somethingAt(round.source + name));
                if (isTidy()) {
                    EXPECT_EQ(somethingAt(round.destination), succeeded);
                }
                if (!succeeded) {
                    EXPECT_EQ(describeTree(round.source), round.before);
                }
            });
    }
    platform::posix::exchangeSystemCalls(before);
}

}  // namespace
}  // namespace quillmoor::test
