#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>

#include "tests/faults/fault_loop.h"
#include "tests/faults/files_world.h"

namespace quillmoor::test {
namespace {

using namespace std::chrono_literals;

// A folder tree to change, and a folder to change it into.
struct Tree {
    Tree() {
        world.folder().writeFile("in/tree/sub/file", "contents");
        world.folder().writeFile("in/tree/other", std::string(3000, 'x'));
        world.folder().makeLink("in/tree/link", "sub");
        ::chmod((path + "/other").c_str(), 0444);
        before = describeTree(path);
    }
    bool standsAt(const std::string& place) const {
        return somethingAt(place) && describeTree(place) == before;
    }

    FilesWorld world;
    std::string in = world.folder().makeFolder("in");
    std::string out = world.folder().makeFolder("out");
    std::string path = in + "/tree";
    std::string destination = out + "/tree";
    std::string folder = out + "/a/b";
    std::string file = out + "/new";
    std::string other = path + "/other";
    std::string before;
};

using Change = std::function<bool(const Tree&)>;
using Check = std::function<void(const Tree&, const FaultRun&, bool succeeded)>;

// A change of the tree that succeeds without a fault.
FaultScenario change(std::string name, const std::string& operation, Change change, Check check) {
    return {std::move(name), {"KXFileManager " + operation}, [=](FaultRun& run) {
                const Tree tree;
                bool succeeded = false;
                run.inject([&] { succeeded = change(tree); });
                EXPECT_EQ(KXFailure::last().has_value(), !succeeded);
                if (!run.faulted()) {
                    EXPECT_TRUE(succeeded);
                    EXPECT_FALSE(tree.world.usedAuthorization());
                }
                // True then means that a tool was started.
                check(tree, run, succeeded && !tree.world.usedAuthorization());
            }};
}

void expectRemoved(const Tree& tree, const FaultRun&, bool succeeded) {
    if (succeeded) {
        EXPECT_FALSE(somethingAt(tree.path));
    }
}

// The item is complete and exists at exactly one of the paths.
void expectAtOnePlace(const Tree& tree, const std::string& destination, bool succeeded) {
    const bool hasArrived = tree.standsAt(destination);
    const bool hasStayed = tree.standsAt(tree.path);
    EXPECT_NE(hasArrived, hasStayed);
    EXPECT_NE(somethingAt(destination), somethingAt(tree.path));
    if (succeeded) {
        EXPECT_TRUE(hasArrived);
    }
}

void expectTrashed(const Tree& tree, const FaultRun& run, bool succeeded) {
    const std::string files = tree.world.folder() / "home/.local/share/Trash/files";
    const std::string infos = tree.world.folder() / "home/.local/share/Trash/info";
    expectAtOnePlace(tree, files + "/tree", succeeded);
    if (run.isLasting()) return;
    const bool hasArrived = somethingAt(files + "/tree");
    EXPECT_EQ(somethingAt(infos) ? listing(infos) : "", hasArrived ? "tree.trashinfo" : "");
}

// A folder that cannot be listed has nothing to trash or to copy: that is a success.
void expectTrashedIfListed(const Tree& tree, const FaultRun& run, bool succeeded) {
    expectTrashed(tree, run, succeeded && !(run.faulted() && tree.standsAt(tree.path)));
}

void expectMoved(const Tree& tree, const FaultRun& run, bool succeeded) {
    expectAtOnePlace(tree, tree.destination, succeeded);
    if (run.isLasting()) return;
    const bool hasArrived = somethingAt(tree.destination);
    EXPECT_EQ(listing(tree.out), hasArrived ? "tree" : "");
    EXPECT_EQ(listing(tree.in), hasArrived ? "" : "tree");
}

void expectCopied(const Tree& tree, const FaultRun& run, bool succeeded) {
    EXPECT_TRUE(tree.standsAt(tree.path));
    if (somethingAt(tree.destination)) {
        EXPECT_TRUE(tree.standsAt(tree.destination));
    }
    if (succeeded) {
        EXPECT_TRUE(somethingAt(tree.destination));
    }
    if (!run.isLasting()) {
        EXPECT_EQ(listing(tree.out), somethingAt(tree.destination) ? "tree" : "");
    }
}

void expectCopiedIfListed(const Tree& tree, const FaultRun& run, bool succeeded) {
    expectCopied(tree, run, succeeded && !(run.faulted() && listing(tree.out).empty()));
}

std::vector<FaultScenario> removalScenarios() {
    return {
        change(
            "RemoveFileWithoutAuthorization", "removeFile:shouldAuth:",
            [](const Tree& tree) {
                return KXFileManager::removeFile(given(tree.path), ShouldAuth::No);
            },
            expectRemoved),
        change(
            "RemoveFile", "removeFile:",
            [](const Tree& tree) { return KXFileManager::removeFile(given(tree.path)); },
            expectRemoved),
        change(
            "RemoveFileAndWait", "removeFile:timeout:",
            [](const Tree& tree) { return KXFileManager::removeFile(given(tree.path), 0s); },
            expectRemoved),
        {"RemoveFolderIfEmpty",
         {"KXFileManager removeFolderIfEmpty:"},
         [](FaultRun& run) {
             const Tree tree;
             const std::string empty = tree.world.folder().makeFolder("empty/inside");
             bool removed = false;
             const std::string outer = tree.world.folder() / "empty";
             bool removedFull = false;
             run.inject([&] {
                 removedFull = KXFileManager::removeFolderIfEmpty(given(tree.path));
                 removed = KXFileManager::removeFolderIfEmpty(given(outer));
             });
             EXPECT_FALSE(removedFull);
             EXPECT_TRUE(tree.standsAt(tree.path));
             if (removed && !tree.world.usedAuthorization()) {
                 EXPECT_FALSE(somethingAt(empty));
             }
             if (!run.faulted()) {
                 EXPECT_TRUE(removed);
             }
         }},
    };
}

std::vector<FaultScenario> trashScenarios() {
    return {
        change(
            "TrashFileWithoutAuthorization", "trashFile:shouldAuth:",
            [](const Tree& tree) {
                return KXFileManager::trashFile(given(tree.path), ShouldAuth::No);
            },
            expectTrashed),
        change(
            "TrashFile", "trashFile:",
            [](const Tree& tree) { return KXFileManager::trashFile(given(tree.path)); },
            expectTrashed),
        change(
            "TrashFileAndWait", "trashFile:timeout:",
            [](const Tree& tree) { return KXFileManager::trashFile(given(tree.path), 0s); },
            expectTrashed),
        change(
            "TrashDirectoryContents", "trashDirectoryContents:",
            [](const Tree& tree) { return KXFileManager::trashDirectoryContents(given(tree.in)); },
            expectTrashedIfListed),
        change(
            "TrashDirectoryContentsWithoutAuthorization", "trashDirectoryContents:shouldAuth:",
            [](const Tree& tree) {
                return KXFileManager::trashDirectoryContents(given(tree.in), ShouldAuth::No);
            },
            expectTrashedIfListed),
        {"TrashFilesOfAKind",
         {"KXFileManager trashFilesOfType:inFolder:", "KXFileManager trashFilesNamed:inFolder:"},
         [](FaultRun& run) {
             const FilesWorld world;
             const std::string text = world.folder().writeFile("in/a/one.txt", "1");
             const std::string named = world.folder().writeFile("in/a/two", "2");
             const std::string other = world.folder().writeFile("in/a/three", "3");
             StringList texts;
             const std::string in = world.folder() / "in";
             StringList twos;
             run.inject([&] {
                 texts = KXFileManager::trashFilesOfType(given("TXT"), given(in));
                 twos = KXFileManager::trashFilesNamed(given("two"), given(in));
             });
             EXPECT_TRUE(somethingAt(other));
             EXPECT_THAT(texts, testing::Each(text));
             EXPECT_THAT(twos, testing::Each(named));
             const std::string files = world.folder() / "home/.local/share/Trash/files";
             EXPECT_NE(somethingAt(text), somethingAt(files + "/one.txt"));
             EXPECT_NE(somethingAt(named), somethingAt(files + "/two"));
             if (!run.faulted()) {
                 EXPECT_FALSE(somethingAt(text) || somethingAt(named));
             }
         }},
    };
}

std::vector<FaultScenario> creationScenarios() {
    const auto expectFolder = [](const Tree& tree, const FaultRun&, bool succeeded) {
        if (succeeded) {
            EXPECT_TRUE(std::filesystem::is_directory(tree.folder));
        }
    };
    return {
        change(
            "CreateDirectoryWithoutAuthorization", "createDirectory:shouldAuth:",
            [](const Tree& tree) {
                return KXFileManager::createDirectory(given(tree.folder), ShouldAuth::No);
            },
            expectFolder),
        change(
            "CreateDirectory", "createDirectory:",
            [](const Tree& tree) { return KXFileManager::createDirectory(given(tree.folder)); },
            expectFolder),
        change(
            "CreateDirectoryAndWait", "createDirectory:timeout:",
            [](const Tree& tree) { return KXFileManager::createDirectory(given(tree.folder), 0s); },
            expectFolder),
        {"CreateDirectoryStructure",
         {"KXFileManager createDirectoryStructure:destination:"},
         [](FaultRun& run) {
             const Tree tree;
             OptionalPath made;
             run.inject([&] {
                 made = KXFileManager::createDirectoryStructure(given(tree.path), given(tree.out));
             });
             if (!run.faulted()) {
                 EXPECT_EQ(made, tree.out + tree.path);
                 EXPECT_TRUE(std::filesystem::is_directory(*made));
             }
         }},
        change(
            "CreateEmptyFile", "createEmptyFile:",
            [](const Tree& tree) { return KXFileManager::createEmptyFile(given(tree.file)); },
            [](const Tree& tree, const FaultRun& run, bool succeeded) {
                if (succeeded) {
                    EXPECT_TRUE(std::filesystem::is_regular_file(tree.file));
                }
                if (!run.isLasting()) {
                    EXPECT_EQ(listing(tree.out), somethingAt(tree.file) ? "new" : "");
                }
            }),
    };
}

std::vector<FaultScenario> copyScenarios() {
    return {
        change(
            "CopyFileWithoutAuthorization", "copyFile:toPath:shouldAuth:",
            [](const Tree& tree) {
                return KXFileManager::copyFile(given(tree.path), given(tree.destination),
                                               ShouldAuth::No);
            },
            expectCopied),
        change(
            "CopyFile", "copyFile:toPath:",
            [](const Tree& tree) {
                return KXFileManager::copyFile(given(tree.path), given(tree.destination));
            },
            expectCopied),
        change(
            "CopyFileAndWait", "copyFile:toPath:timeout:",
            [](const Tree& tree) {
                return KXFileManager::copyFile(given(tree.path), given(tree.destination), 0s);
            },
            expectCopied),
        change(
            "CopyContentsOfDirectory", "copyContentsOfDirectory:toPath:timeout:",
            [](const Tree& tree) {
                return KXFileManager::copyContentsOfDirectory(given(tree.in), given(tree.out), 0s);
            },
            expectCopiedIfListed),
    };
}

std::vector<FaultScenario> moveScenarios() {
    return {
        change(
            "MoveFileWithoutAuthorization", "moveFile:toPath:shouldAuth:",
            [](const Tree& tree) {
                return KXFileManager::moveFile(given(tree.path), given(tree.destination),
                                               ShouldAuth::No);
            },
            expectMoved),
        change(
            "MoveFile", "moveFile:toPath:",
            [](const Tree& tree) {
                return KXFileManager::moveFile(given(tree.path), given(tree.destination));
            },
            expectMoved),
        change(
            "MoveFileAndWait", "moveFile:toPath:timeout:",
            [](const Tree& tree) {
                return KXFileManager::moveFile(given(tree.path), given(tree.destination), 0s);
            },
            expectMoved),
    };
}

// Only root can lock files, where the file system has such a flag.
std::vector<FaultScenario> attributeScenarios() {
    return {
        {"Locks",
         {"KXFileManager lockFile:", "KXFileManager unlockFile:", "KXFileManager lockFolder:",
          "KXFileManager unlockFolder:"},
         [](FaultRun& run) {
             const Tree tree;
             run.inject([&] {
                 KXFileManager::lockFile(given(tree.other));
                 KXFileManager::unlockFile(given(tree.other));
                 KXFileManager::lockFolder(given(tree.path));
                 KXFileManager::unlockFolder(given(tree.path));
             });
             if (!run.faulted()) {
                 EXPECT_FALSE(KXFileManager::isFileLocked(given(tree.other)));
             }
             KXFileManager::unlockFolder(given(tree.path));
             KXFileManager::unlockFile(given(tree.other));
             EXPECT_TRUE(tree.standsAt(tree.path));
         }},
        {"SetPosixPermissions",
         {"KXFileManager setPosixPermissions:forFile:"},
         [](FaultRun& run) {
             Tree tree;
             const std::string file = tree.other;
             run.inject([&] { KXFileManager::setPosixPermissions(0640, given(file)); });
             const auto mode = std::filesystem::status(file).permissions();
             const bool changed = mode == std::filesystem::perms(0640);
             EXPECT_TRUE(changed || mode == std::filesystem::perms(0444));
             if (!run.faulted()) {
                 EXPECT_TRUE(changed);
             }
             if (!changed && !run.isLasting()) {
                 EXPECT_TRUE(tree.world.hasLogged("Error setting permissions for file") ||
                             tree.world.hasLogged("setPosixPermissions:forFile:]"));
             }
         }},
        {"SetModificationDate",
         {"KXFileManager setModificationDate:forFile:"},
         [](FaultRun& run) {
             const FilesWorld world;
             const std::string file = world.folder().writeFile("file", "text");
             const std::chrono::system_clock::time_point date{1'000'000s};
             bool changed = false;
             run.inject([&] { changed = KXFileManager::setModificationDate(date, given(file)); });
             struct stat status {};
             ASSERT_EQ(::stat(file.c_str(), &status), 0);
             EXPECT_EQ(changed, status.st_mtim.tv_sec == 1'000'000);
             if (!run.faulted()) {
                 EXPECT_TRUE(changed);
             }
         }},
        {"FinderColor",
         {"KXFileManager setFinderColorIndex:forPath:", "KXFileManager finderColorIndexForPath:",
          "KXFileManager finderColorForPath:"},
         [](FaultRun& run) {
             const FilesWorld world;
             const std::string file = world.folder().writeFile("file", "text");
             KXFileManager::setFinderColorIndex(4, file);
             const bool keepsLabels = KXFileManager::finderColorIndexForPath(file) == 4;
             int index = 0;
             std::optional<FinderColor> color;
             run.inject([&] {
                 KXFileManager::setFinderColorIndex(8, given(file));
                 index = KXFileManager::finderColorIndexForPath(given(file));
                 color = KXFileManager::finderColorForPath(given(file));
             });
             if (!keepsLabels) return;
             EXPECT_THAT(index, testing::AnyOf(0, 4, 8));
             const int kept = KXFileManager::finderColorIndexForPath(file);
             EXPECT_THAT(kept, testing::AnyOf(4, 8));
             if (!run.faulted()) {
                 EXPECT_EQ(kept, 8);
                 EXPECT_TRUE(color);
             }
         }},
    };
}

}  // namespace

std::vector<FaultScenario> fileChangeScenarios() {
    std::vector<FaultScenario> all;
    for (const auto& part : {removalScenarios, trashScenarios, creationScenarios, copyScenarios,
                             moveScenarios, attributeScenarios})
        for (FaultScenario& scenario : part()) all.push_back(std::move(scenario));
    return all;
}

}  // namespace quillmoor::test
