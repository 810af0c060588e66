// What every back-end owes to those who ask about the process and the computer.
#include "quillmoor/platform/process_info.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>

#include "tests/contract/services/back_end.h"

namespace quillmoor::platform {
namespace {

class ProcessInfoContract : public testing::TestWithParam<BackEnd> {
  protected:
    ProcessInfo& processInfo() { return *GetParam().platform().processInfo; }
};

TEST_P(ProcessInfoContract, EveryUniqueStringIsANewOneAndFitForAFileName) {
    std::set<std::string> all;
    for (int i = 0; i < 2000; ++i) {
        const std::string text = processInfo().globallyUniqueString();
        EXPECT_EQ(text.find('/'), std::string::npos);
        EXPECT_FALSE(text.starts_with('.'));
        EXPECT_LT(text.size(), 200U);
        all.insert(text);
    }
    EXPECT_EQ(all.size(), 2000U);
}

TEST_P(ProcessInfoContract, TheSystemHasANameOfOneLine) {
    const std::string name = processInfo().operatingSystemVersionString();
    EXPECT_FALSE(name.empty());
    EXPECT_EQ(name.find('\n'), std::string::npos);
}

TEST_P(ProcessInfoContract, ThereIsAProcessorAndSomeMemory) {
    EXPECT_GE(processInfo().processorCount(), 1);
    EXPECT_GT(processInfo().physicalMemory(), std::uint64_t{1} << 20);
}

TEST_P(ProcessInfoContract, TheUserIsTheOneThatRunsTheProcess) {
    EXPECT_EQ(processInfo().realUserId(), ::getuid());
}

// A child of root's that acts for another user is root's all the same.
TEST_P(ProcessInfoContract, TheUserIsTheRealOneNotTheEffective) {
    if (::getuid() != 0) GTEST_SKIP() << "only root may act for another user";
    const pid_t child = ::fork();
    if (child == 0) {
        if (::seteuid(65534) != 0) ::_exit(2);
        ::_exit(processInfo().realUserId() == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

INSTANTIATE_TEST_SUITE_P(All, ProcessInfoContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
