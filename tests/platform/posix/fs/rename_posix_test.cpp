#include "quillmoor/platform/posix/fs/rename_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using test::describeTree;
using test::somethingAt;
using test::TempFolder;

const SystemCalls* inForce = nullptr;

// A file system that knows no renaming without replacing, and hard links or not.
class OldFileSystem {
  public:
    explicit OldFileSystem(bool hardLinks) : calls_(systemCalls()) {
        calls_.renameNoReplace = [](int, const char*, int, const char*) {
            errno = EINVAL;
            return -1;
        };
        if (!hardLinks)
            calls_.linkat = [](int, const char*, int, const char*, int) {
                errno = EPERM;
                return -1;
            };
        inForce = exchangeSystemCalls(&calls_);
    }
    ~OldFileSystem() { exchangeSystemCalls(inForce); }
    OldFileSystem(const OldFileSystem&) = delete;
    OldFileSystem& operator=(const OldFileSystem&) = delete;

  private:
    SystemCalls calls_;
};

int renamed(const TempFolder& folder, const std::string& name, const std::string& newName) {
    const Descriptor open(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return renameWithoutReplacing(open.get(), name, open.get(), newName);
}

void expectThatItMovesAndNeverReplaces() {
    const TempFolder folder;
    folder.writeFile("file", "moved");
    folder.writeFile("tree/inside", "moved too");
    folder.makeLink("link", "nowhere");
    folder.writeFile("standing", "stays");
    folder.makeFolder("empty folder");
    folder.makeLink("dangling", "nowhere else");
    for (const char* name : {"file", "tree", "link"}) {
        const std::string before = describeTree(folder / name);
        for (const char* other : {"standing", "empty folder", "dangling", name}) {
            const std::string otherBefore = describeTree(folder / other);
            EXPECT_EQ(renamed(folder, name, other), EEXIST) << name << " to " << other;
            EXPECT_EQ(describeTree(folder / other), otherBefore);
        }
        EXPECT_EQ(renamed(folder, name, std::string("new ") + name), 0) << name;
        EXPECT_FALSE(somethingAt(folder / name));
        EXPECT_EQ(describeTree(folder / (std::string("new ") + name)), before);
    }
    EXPECT_EQ(renamed(folder, "missing", "other"), ENOENT);
    EXPECT_FALSE(somethingAt(folder / "other"));
}

TEST(Rename, MovesAndNeverReplaces) {
    expectThatItMovesAndNeverReplaces();
}

TEST(Rename, MovesAndNeverReplacesOnAnOldFileSystem) {
    const OldFileSystem old(true);
    expectThatItMovesAndNeverReplaces();
}

TEST(Rename, MovesAndNeverReplacesOnAnOldFileSystemWithoutHardLinks) {
    const OldFileSystem old(false);
    expectThatItMovesAndNeverReplaces();
}

TEST(Rename, RefusesToMoveAFolderIntoItself) {
    for (const bool oldSystem : {false, true}) {
        const TempFolder folder;
        folder.makeFolder("tree/sub");
        const std::string before = describeTree(folder.path());
        std::unique_ptr<OldFileSystem> old;
        if (oldSystem) old = std::make_unique<OldFileSystem>(true);
        for (const char* to : {"tree", "tree/sub"}) {
            const Descriptor from(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
            const Descriptor into(::open((folder / to).c_str(), O_RDONLY | O_CLOEXEC));
            EXPECT_EQ(renameWithoutReplacing(from.get(), "tree", into.get(), "inside"), EINVAL);
        }
        EXPECT_EQ(describeTree(folder.path()), before);  // dates included
    }
}

}  // namespace
}  // namespace quillmoor::platform::posix
