#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "tests/faults/fault_loop.h"
#include "tests/faults/files_world.h"

namespace quillmoor::test {
namespace {

using namespace std::chrono_literals;

// A folder with something of every kind.
struct Items {
    FilesWorld world;
    std::string top = world.folder().makeFolder("items");
    std::string file = world.folder().writeFile("items/file.txt", "12345");
    std::string inner = world.folder().writeFile("items/sub/inner.txt", "1234567");
    std::string sub = top + "/sub";
    std::string texts = top + "/*.txt";
    std::string package = world.folder().makeFolder("items/Some.app");
    std::string link = world.folder().makeLink("items/link", "file.txt");
    std::string empty = world.folder().makeFolder("empty");
};

// A result that is right, or the one for a failure, and the latter only after a failure.
template <typename Answer>
FaultScenario query(std::string name, const std::string& operation,
                    std::function<Answer(const Items&)> ask,
                    std::function<Answer(const Items&)> right, Answer failed) {
    return {std::move(name), {"KXFileManager " + operation}, [=](FaultRun& run) {
                const Items items;
                const Answer expected = right(items);
                Answer answer{};
                run.inject([&] { answer = ask(items); });
                if (run.faulted() && answer == failed) return;
                EXPECT_EQ(answer, expected);
            }};
}

FaultScenario yes(std::string name, const std::string& operation,
                  std::function<bool(const Items&)> ask) {
    return query<bool>(
        std::move(name), operation, std::move(ask), [](const Items&) { return true; }, false);
}

// Every name is one that is right; all of them without a fault.
FaultScenario listing(std::string name, const std::string& operation,
                      std::function<StringList(const Items&)> ask,
                      std::function<std::set<std::string>(const Items&)> right) {
    return {std::move(name), {"KXFileManager " + operation}, [=](FaultRun& run) {
                const Items items;
                StringList found;
                run.inject([&] { found = ask(items); });
                const std::set<std::string> expected = right(items);
                EXPECT_THAT(found, testing::Each(testing::AnyOfArray(expected)));
                if (!run.faulted()) {
                    EXPECT_EQ(found.size(), expected.size());
                }
            }};
}

std::vector<FaultScenario> existenceScenarios() {
    return {
        yes("FileExists", "fileExistsAtPath:",
            [](const Items& items) { return KXFileManager::fileExistsAtPath(given(items.link)); }),
        yes("IsDirectory", "isDirectoryAtPath:",
            [](const Items& items) { return KXFileManager::isDirectoryAtPath(given(items.sub)); }),
        yes("IsPackage", "isPackageAtPath:",
            [](const Items& items) {
                return KXFileManager::isPackageAtPath(given(items.package));
            }),
        yes("IsSymbolicLink", "isSymbolicLinkAtPath:",
            [](const Items& items) {
                return KXFileManager::isSymbolicLinkAtPath(given(items.link));
            }),
        query<bool>(
            "IsVolumeMounted", "isVolumeMountedForPath:",
            [](const Items&) {
                return KXFileManager::isVolumeMountedForPath(given("/Volumes/no such one/a/file"));
            },
            [](const Items&) { return false; }, false),
        query<bool>(
            "IsDriveMounted", "isDriveMountedForPath:",
            [](const Items&) {
                return KXFileManager::isDriveMountedForPath(given("/Volumes/no such one/a/file"));
            },
            [](const Items&) { return false; }, false),
        // What cannot be listed counts as empty.
        query<bool>(
            "IsFolderEmpty", "isFolderEmpty:",
            [](const Items& items) { return KXFileManager::isFolderEmpty(given(items.top)); },
            [](const Items&) { return false; }, true),
        yes("IsEmptyFolderEmpty", "isFolderEmpty:",
            [](const Items& items) { return KXFileManager::isFolderEmpty(given(items.empty)); }),
        query<bool>(
            "IsFileLocked", "isFileLocked:",
            [](const Items& items) { return KXFileManager::isFileLocked(given(items.file)); },
            [](const Items&) { return false; }, false),
    };
}

std::vector<FaultScenario> sizeScenarios() {
    return {
        {"FileSize",
         {"KXFileManager fileSize:"},
         [](FaultRun& run) {
             const Items items;
             std::uint64_t size = 0;
             run.inject([&] { size = KXFileManager::fileSize(given(items.top)); });
             // The file, the one in the folder inside, and the link's own; of what cannot be read,
             // nothing.
             constexpr std::uint64_t kWhole = 5 + 7 + 8;
             EXPECT_LE(size, kWhole);
             if (!run.faulted()) {
                 EXPECT_EQ(size, kWhole);
             }
         }},
        query<std::string>(
            "FormatFileSize",
            "formatFileSize:", [](const Items&) { return KXFileManager::formatFileSize(1536); },
            [](const Items&) { return std::string("1.50 KB"); }, ""),
    };
}

std::vector<FaultScenario> nameScenarios() {
    return {
        listing(
            "FilesMatching", "filesMatchingWildcardPath:fromBasePath:",
            [](const Items& items) {
                return KXFileManager::filesMatchingWildcardPath(given("*/*.txt"), given(items.top));
            },
            [](const Items& items) { return std::set<std::string>{items.inner}; }),
        listing(
            "FilesMatchingFromTheRoot", "filesMatchingWildcardPath:",
            [](const Items& items) {
                return KXFileManager::filesMatchingWildcardPath(given(items.texts));
            },
            [](const Items& items) { return std::set<std::string>{items.file}; }),
        {"DecodeWildcardPath",
         {"KXFileManager decodeWildcardPath:fromBasePath:"},
         [](FaultRun& run) {
             const Items items;
             OptionalPath path;
             run.inject([&] {
                 path = KXFileManager::decodeWildcardPath(given("*.txt"), given(items.top));
             });
             if (run.faulted() && (!path || *path == items.top + "/*.txt")) return;
             EXPECT_EQ(path, items.file);
         }},
        query<OptionalString>(
            "ValidateFilename", "validateFilename:",
            [](const Items&) {
                return KXFileManager::validateFilename(
                    given(" a name that is longer than a short one: "));
            },
            [](const Items&) { return OptionalString("a name that is longer than a short one"); },
            std::nullopt),
        {"UniqueFilename",
         {"KXFileManager uniqueFilename:"},
         [](FaultRun& run) {
             const Items items;
             OptionalPath path;
             run.inject([&] { path = KXFileManager::uniqueFilename(given(items.file)); });
             // Of what cannot be looked at, it is not known whether it is there.
             if (run.faulted() && (!path || *path == items.file)) return;
             EXPECT_EQ(path, items.top + "/file 2.txt");
         }},
    };
}

std::vector<FaultScenario> referenceScenarios() {
    return {
        {"FileReference",
         {"KXFileManager stringToFSRef:", "KXFileManager stringWithFSRef:",
          "KXFileManager notifyFileSystemChanged:", "SendFinderSyncEvent"},
         [](FaultRun& run) {
             const Items items;
             OptionalPath path;
             run.inject([&] {
                 const platform::FileReference reference =
                     KXFileManager::stringToFSRef(given(items.file));
                 path = KXFileManager::stringWithFSRef(&reference);
                 KXFileManager::notifyFileSystemChanged(given(items.file));
                 SendFinderSyncEvent(&reference);
             });
             if (run.faulted() && !path) return;
             EXPECT_EQ(path, items.file);
         }},
        {"FinderColorForColorIndex",
         {"KXFileManager finderColorForColorIndex:"},
         [](FaultRun& run) {
             std::optional<FinderColor> color;
             run.inject([&] { color = KXFileManager::finderColorForColorIndex(4); });
             EXPECT_TRUE(color);
         }},
    };
}

std::vector<FaultScenario> waitScenarios() {
    return {
        {"WaitForFileCreation",
         {"KXFileManager waitForFileCreation:timeout:"},
         [](FaultRun& run) {
             const Items items;
             run.inject([&] { KXFileManager::waitForFileCreation(given(items.file), 1s); });
         }},
        {"WaitForFileWrites",
         {"KXFileManager waitForFileWrites:", "KXFileManager waitForFileWrites:lockFile:"},
         [](FaultRun& run) {
             const Items items;
             const auto old = std::chrono::system_clock::now() - 1h;
             ASSERT_TRUE(KXFileManager::setModificationDate(old, items.file));
             run.inject([&] {
                 KXFileManager::waitForFileWrites(given(items.file));
                 KXFileManager::waitForFileWrites(given(items.file), given("no lock"));
             });
         }},
    };
}

}  // namespace

std::vector<FaultScenario> fileQueryScenarios() {
    std::vector<FaultScenario> all;
    for (const auto& part :
         {existenceScenarios, sizeScenarios, nameScenarios, referenceScenarios, waitScenarios})
        for (FaultScenario& scenario : part()) all.push_back(std::move(scenario));
    return all;
}

}  // namespace quillmoor::test
