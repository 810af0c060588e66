// Each public operation, with each of its calls failing in turn, and the list of all of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
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

TEST(FaultLoop, HasEveryPublicOperation) {
    const std::set<std::string> expected = publicOperations();
    EXPECT_GT(expected.size(), 100U);
    EXPECT_THAT(operationsInLoop(), testing::ContainerEq(expected));
}

}  // namespace

const std::vector<FaultScenario>& faultScenarios() {
    static const std::vector<FaultScenario> all = [] {
        std::vector<FaultScenario> list;
        for (const auto& part :
             {fileQueryScenarios, fileChangeScenarios, fileToolScenarios, pathScenarios,
              rightsScenarios, helperScenarios, paneScenarios, taskScenarios, logScenarios}) {
            const std::vector<FaultScenario> scenarios = part();
            list.insert(list.end(), scenarios.begin(), scenarios.end());
        }
        return list;
    }();
    return all;
}

}  // namespace quillmoor::test
