#include "quillmoor/platform/posix/fs/tree_match_posix.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <string>
#include <thread>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/support/failing_allocations.h"

namespace quillmoor::platform::posix {
namespace {

using test::TempFolder;

// The definition itself, entry by entry.
StringList matchesOneByOne(const StringList& folders, const std::string& pattern) {
    FileManager& files = *nativeFileManager();
    StringList found;
    for (const std::string& folder : folders)
        for (const std::string& name : files.contentsOfDirectory(folder).value_or(StringList())) {
            std::string path = *appendPathComponent(folder, name);
            if (isLike(pattern, name) && files.fileExists(path)) found.push_back(std::move(path));
        }
    return found;
}

TEST(TreeMatch, ATreeOfEveryKindMatchesAsEntryByEntry) {
    const TempFolder folder;
    const std::string tree = test::makeNastyTree(folder, "tree");
    const StringList folders{tree, tree + "/sub", tree + "/to folder", tree, tree + "/fifo"};
    for (const char* pattern : {"*", "-*", "*e*", "caf??*", "\xff*", "*\n*", "* *"})
        EXPECT_EQ(matchEntries(folders, pattern), matchesOneByOne(folders, pattern)) << pattern;
}

TEST(TreeMatch, ALargeFolderMatchesAsEntryByEntry) {
    const TempFolder folder;
    for (int i = 0; i < 6000; ++i) folder.makeLink("large/" + std::to_string(i), "/tmp");
    folder.writeFile("small/11");
    folder.makeLink("large/dangling 11", "nowhere");
    const StringList folders{folder / "large", folder / "small", folder / "large"};
    for (const char* pattern : {"*", "*11*", "nothing*"})
        EXPECT_EQ(matchEntries(folders, pattern), matchesOneByOne(folders, pattern)) << pattern;
}

TEST(TreeMatch, ManyFoldersMatchAsEntryByEntry) {
    const TempFolder folder;
    StringList folders;
    for (int i = 0; i < 200; ++i) {
        folders.push_back(folder / std::to_string(i));
        for (int j = 0; j < 5; ++j)
            folder.writeFile(std::to_string(i) + "/" + std::to_string(i * j));
    }
    EXPECT_EQ(matchEntries(folders, "*2*"), matchesOneByOne(folders, "*2*"));
}

// Other threads than the one that asks have no memory.
std::thread::id askingThread;
std::atomic<int> failures{0};
bool failsOnOtherThreads() {
    if (std::this_thread::get_id() == askingThread) return false;
    ++failures;
    return true;
}

TEST(TreeMatch, ReportsThatAnotherThreadHadNoMemory) {
    const TempFolder folder;
    StringList folders{folder.makeFolder("many")};
    for (int i = 0; i < 4200; ++i) folder.makeLink("many/" + std::to_string(i), "/tmp");
    for (int i = 0; i < 400; ++i) {
        folders.push_back(folder / ("x" + std::to_string(i)));
        for (int j = 0; j < 5; ++j)
            folder.makeLink("x" + std::to_string(i) + "/x" + std::to_string(j), "/tmp");
    }
    const StringList all = matchesOneByOne(folders, "x*");
    askingThread = std::this_thread::get_id();
    test::setAllocationFails(failsOnOtherThreads);
    try {
        const StringList found = matchEntries(folders, "x*");
        test::setAllocationFails(nullptr);
        EXPECT_EQ(failures, 0);
        EXPECT_EQ(found, all);
    } catch (const std::bad_alloc&) {
        test::setAllocationFails(nullptr);
        EXPECT_GT(failures, 0);
    }
}

TEST(TreeMatch, AsksForTypesWhereAFileSystemDoesNotListThem) {
    const TempFolder folder;
    folder.writeFile("tree/file");
    folder.makeLink("tree/dangling", "nowhere");
    static const SystemCalls* next = &systemCalls();
    SystemCalls calls = *next;
    calls.readdir = [](DIR* stream) {
        dirent* const entry = next->readdir(stream);
        if (entry != nullptr) entry->d_type = DT_UNKNOWN;
        return entry;
    };
    exchangeSystemCalls(&calls);
    const StringList found = matchEntries({folder / "tree"}, "*");
    exchangeSystemCalls(next);
    EXPECT_EQ(found, StringList{folder / "tree/file"});
}

TEST(TreeMatch, AFolderBeyondTheLongestPathIsRead) {
    const TempFolder folder;
    const std::string name(200, 'n');
    test::makeDeepTree(folder / "deep", 30, name);
    std::string path = folder / "deep";
    for (int i = 0; i < 30; ++i) path += "/" + name;
    EXPECT_EQ(matchEntries({path}, "bot*"), StringList{path + "/bottom"});
    ASSERT_TRUE(nativeFileManager()->removeItem(folder / "deep"));
}

}  // namespace
}  // namespace quillmoor::platform::posix
