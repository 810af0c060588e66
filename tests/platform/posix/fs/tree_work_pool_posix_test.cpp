#include "quillmoor/platform/posix/fs/tree_work_pool_posix.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <new>
#include <utility>
#include <vector>

#include "quillmoor/platform/posix/fs/tree_worker_posix.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

EntryBatch batchOf(const std::vector<std::string>& names) {
    EntryBatch batch;
    for (const std::string& name : names) batch.add({name.c_str(), S_IFREG});
    return batch;
}

std::size_t countOf(EntryBatch& batch) {
    std::size_t count = 0;
    for (TreeEntry entry; batch.next(entry);) ++count;
    return count;
}

TEST(TreeWorkPool, ABatchKeepsNamesTypesAndOrder) {
    const std::vector<TreeEntry> entries{{"-rf", S_IFREG},
                                         {"line\nbreak", S_IFDIR},
                                         {"\xff\xfe", S_IFLNK},
                                         {"x", 0},
                                         {"s", S_IFSOCK}};
    EntryBatch batch;
    TreeEntry entry;
    EXPECT_FALSE(batch.next(entry));
    for (const TreeEntry& each : entries) batch.add(each);
    EXPECT_EQ(batch.size(), entries.size());
    for (const TreeEntry& each : entries) {
        ASSERT_TRUE(batch.next(entry));
        EXPECT_STREQ(entry.name, each.name);
        EXPECT_EQ(entry.type, each.type);
    }
    EXPECT_FALSE(batch.next(entry));
}

TEST(TreeWorkPool, FewDescriptorsMakeOneThreadWithFewLevels) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 64;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    const TreeLimits limits = treeLimits(2);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(limits.threads, 1U);
    EXPECT_LE(limits.openLevels * 2, 32U);
}

TEST(TreeWorkPool, WantsNoWorkForOneThread) {
    const TreeWorkPool pool(1, [] { FAIL() << "no further thread may be started"; });
    EXPECT_FALSE(pool.wantsWork());
}

TEST(TreeWorkPool, HandlesEachGivenEntryOnce) {
    std::atomic<std::size_t> done{0};
    TreeWorkPool pool(4, [&] {
        TreeWorkPool::WorkItem item;
        while (pool.take(item)) {
            done += countOf(item.entries);
            pool.done(*item.folder);
        }
    });
    for (int round = 0; round < 200; ++round) {
        TreeLevel folder;
        for (int i = 0; i < 5; ++i) pool.give(folder, batchOf({"a", "b", "c"}));
        EntryBatch back;
        while (pool.takeBack(folder, back)) done += countOf(back);
        EXPECT_EQ(folder.given, 0);
        EXPECT_EQ(done, 15U * static_cast<std::size_t>(round + 1));
    }
    pool.end();
}

TEST(TreeWorkPool, GivesNothingWithoutMemory) {
    TreeWorkPool pool(1, [] {});
    TreeLevel folder;
    int given = 0;
    for (bool refused = false; !refused; given += refused ? 0 : 1) {
        ASSERT_LT(given, 1000) << "there was memory for all";
        EntryBatch batch = batchOf({"a"});
        const test::FailingAllocations failing(1);
        try {
            pool.give(folder, std::move(batch));
        } catch (const std::bad_alloc&) {
            refused = true;
        }
    }
    // One more would be waited for in vain.
    ASSERT_EQ(folder.given, given);
    EntryBatch back;
    while (pool.takeBack(folder, back)) --given;
    EXPECT_EQ(given, 0);
}

TEST(TreeWorkPool, FurtherThreadsBlockSignals) {
    std::atomic<bool> blocked{false};
    TreeLevel folder;
    TreeWorkPool pool(4, [&] {
        TreeWorkPool::WorkItem item;
        while (pool.take(item)) {
            blocked = test::isSignalBlocked(SIGTERM);
            pool.done(*item.folder);
        }
    });
    pool.give(folder, batchOf({"a"}));
    while (folder.given != 0) std::this_thread::yield();
    EXPECT_TRUE(blocked);
    EXPECT_FALSE(test::isSignalBlocked(SIGTERM));
}

}  // namespace
}  // namespace quillmoor::platform::posix
