// Each public operation, with each of its calls failing in turn, and the list of all of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <new>
#include <set>

#include "tests/faults/fault_loop.h"
#include "tests/faults/public_operations.h"

namespace quillmoor::test {
namespace {

int injectedInAll = 0;

class Faults : public testing::TestWithParam<FaultScenario> {
  protected:
    static void TearDownTestSuite() {
        std::cout << "[   FAULTS ] " << injectedInAll << " injected in all" << std::endl;
    }
};

TEST_P(Faults, KeepTheOperationsPromise) {
    injectedInAll += failEachCall(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Of, Faults, testing::ValuesIn(faultScenarios()),
                         [](const auto& each) { return each.param.name; });

std::set<std::string> operationsInLoop() {
    std::set<std::string> operations;
    for (const FaultScenario& scenario : faultScenarios())
        operations.insert(scenario.operations.begin(), scenario.operations.end());
    return operations;
}

// Called by name: a compiler may leave out a new-expression whose result it does not need.
TEST(FaultLoop, HitsAllocationsOfEveryAlignment) {
    constexpr std::align_val_t kCacheLine{64};
    bool threw = false;
    const void* withoutThrowing = &threw;
    {
        const FaultInjection injection(Fault{Trouble::NoAllocation, Lasting::FromThenOn, 1});
        try {
            ::operator delete(::operator new(64, kCacheLine), kCacheLine);
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        withoutThrowing = ::operator new(64, kCacheLine, std::nothrow);
    }
    EXPECT_TRUE(threw);
    EXPECT_EQ(withoutThrowing, nullptr);
}

TEST(FaultLoop, AlignsWhatItAllocates) {
    constexpr std::align_val_t kPage{4096};
    void* const memory = ::operator new(1, kPage);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 4096, 0U);
    ::operator delete(memory, kPage);
}

TEST(FaultLoop, HasEveryPublicOperation) {
    const std::set<std::string> expected = publicOperations();
    EXPECT_GT(expected.size(), 100U);
    EXPECT_THAT(operationsInLoop(), testing::ContainerEq(expected));
}

}  // namespace

const std::vector<FaultScenario>& faultScenarios() {
    static const std::vector<FaultScenario> all = [] {
        std::vector<FaultScenario> list;
        for (const auto& part : {fileQueryScenarios, fileChangeScenarios, fileToolScenarios,
                                 pathScenarios, authorizationScenarios, helperScenarios,
                                 paneScenarios, taskScenarios, logScenarios}) {
            const std::vector<FaultScenario> scenarios = part();
            list.insert(list.end(), scenarios.begin(), scenarios.end());
        }
        return list;
    }();
    return all;
}

}  // namespace quillmoor::test
