#include "quillmoor/platform/posix/process/child_reaper_posix.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/child_posix.h"
#include "tests/children/child_tools.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

// This process's children, dead ones included.
int childCount() {
    int count = 0;
    const std::string own = " " + std::to_string(::getpid()) + " ";
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string status = test::readFile(entry.path() / "stat");
        const std::size_t end = status.rfind(") ");
        if (end != std::string::npos && status.compare(end + 3, own.size(), own) == 0) ++count;
    }
    return count;
}

class ChildReaper : public testing::Test {
  protected:
    // A child that runs until it is terminated.
    std::shared_ptr<Child> start() const {
        ChildSetup setup;
        setup.path = test::childPath("hang");
        setup.arguments = {folder_ / "number"};
        return Child::start(setup);
    }
    test::TempFolder folder_;
};

TEST_F(ChildReaper, CollectsEachChildWhenItEnds) {
    const std::shared_ptr<Child> first = start();
    const std::shared_ptr<Child> second = start();
    reapLater(first);
    reapLater(second);
    EXPECT_EQ(childCount(), 2);
    second->terminate();
    EXPECT_TRUE(test::eventually([] { return childCount() == 1; }));
    first->terminate();
    EXPECT_TRUE(test::eventually([] { return childCount() == 0; }));
}

TEST_F(ChildReaper, CollectsAChildThatHasEndedAlready) {
    const std::shared_ptr<Child> child = start();
    child->terminate();
    ASSERT_TRUE(test::eventually([] { return test::zombieCount() == 1; }));
    reapLater(child);
    EXPECT_TRUE(test::eventually([] { return childCount() == 0; }));
}

TEST_F(ChildReaper, WithoutAThreadKeepsWhatRunsAndCollectsTheRestAtEachCall) {
    SystemCalls calls = systemCalls();
    calls.pthread_create = [](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) {
        return EAGAIN;
    };
    const std::shared_ptr<Child> first = start();
    const std::shared_ptr<Child> second = start();
    const SystemCalls* const before = exchangeSystemCalls(&calls);
    reapLater(first);
    reapLater(second);
    first->terminate();
    EXPECT_TRUE(test::eventually([] { return test::zombieCount() == 1; }));
    EXPECT_EQ(childCount(), 2) << "there is no thread that could collect it";
    reapLeftOver();
    EXPECT_EQ(childCount(), 1);
    exchangeSystemCalls(before);
    // Now there is one.
    reapLeftOver();
    second->terminate();
    EXPECT_TRUE(test::eventually([] { return childCount() == 0; }));
}

}  // namespace
}  // namespace quillmoor::platform::posix
