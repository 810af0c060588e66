#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "tests/failures/failure_scenarios.h"
#include "tests/faults/public_operations.h"

namespace quillmoor::test {

RefusingWorld::RefusingWorld() {
    manager_.refuses = true;
    desktop_.refusesToRecycle = true;
    platform_->attributes = &flags_;
    platform_->toolPaths = &tools_;
    authorization_.rightsStatus = platform::kAuthorizationCanceled;
    KXAuthorization& session = *KXAuthorization::sharedController();
    session.setAuthRef(nullptr);
    session.setHasGUI(true);
    KXFailure::clear();
}

RefusingWorld::~RefusingWorld() {
    KXLog::finishWriting();
    KXFailure::clear();
}

namespace {

std::vector<FailureScenario> allFailures() {
    std::vector<FailureScenario> all;
    for (const auto& part : {fileFailures, authorizationFailures, taskFailures}) {
        const std::vector<FailureScenario> scenarios = part();
        all.insert(all.end(), scenarios.begin(), scenarios.end());
    }
    return all;
}

std::string testName(std::string operation) {
    return std::regex_replace(operation, std::regex("[ :]+"), "_");
}

// "KXTaskEx runTaskOnInstance:timeout:" is the selector "-[KXTaskEx runTask:timeout:]".
std::string selectorOf(const std::string& operation) {
    if (operation.find(' ') == std::string::npos) return operation;
    static const std::regex ofInstance("KXAuthorization .*|.*(OnInstance|[aA]sync).*");
    const bool isOfInstance =
        operation.starts_with("KXFileManager") ? false : std::regex_match(operation, ofInstance);
    return (isOfInstance ? "-[" : "+[") +
           std::regex_replace(operation, std::regex("OnInstance"), "") + "]";
}

class Failures : public testing::TestWithParam<FailureScenario> {};

TEST_P(Failures, AreRecorded) {
    RefusingWorld world;
    const FailureScenario& scenario = GetParam();
    scenario.call(world);
    const auto failure = KXFailure::last();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->operation, selectorOf(scenario.operation));
    EXPECT_EQ(failure->reason, scenario.reason);
    EXPECT_EQ(failure->path, scenario.path(world));
    EXPECT_EQ(failure->authorization, scenario.authorization);
    EXPECT_NE(failure->description, "");
    EXPECT_EQ(failure->isHalfDone, scenario.isHalfDone);
}

INSTANTIATE_TEST_SUITE_P(Of, Failures, testing::ValuesIn(allFailures()),
                         [](const auto& each) { return testName(each.param.operation); });

// Operations that return no failure of their own: queries, names, what only sets or returns a
// field, and what a thread or the platform calls.
const std::set<std::string> kWithoutFailure{
    "KXAuthorization allocWithZone",
    "KXAuthorization authEnd",
    "KXAuthorization authRef",
    "KXAuthorization canAuthorize",
    "KXAuthorization dealloc",
    "KXAuthorization finalize",
    "KXAuthorization hasGUI",
    "KXAuthorization init",
    "KXAuthorization initWithoutGUI",
    "KXAuthorization isAuthorized",
    "KXAuthorization setAuthRef:",
    "KXAuthorization setHasGUI:",
    "KXAuthorization setUserDirectory:",
    "KXAuthorization sharedController",
    "KXAuthorization sharedController:",
    "KXAuthorization userDirectory",
    "KXFileManager cancelFileOperation:",
    "KXFileManager decodeWildcardPath:fromBasePath:",
    "KXFileManager fileExistsAtPath:",
    "KXFileManager filesMatchingWildcardPath:",
    "KXFileManager filesMatchingWildcardPath:fromBasePath:",
    "KXFileManager finderColorForColorIndex:",
    "KXFileManager formatFileSize:",
    "KXFileManager isDirectoryAtPath:",
    "KXFileManager isDriveMountedForPath:",
    "KXFileManager isFileLocked:",
    "KXFileManager isFolderEmpty:",
    "KXFileManager isPackageAtPath:",
    "KXFileManager isSymbolicLinkAtPath:",
    "KXFileManager isVolumeMountedForPath:",
    "KXFileManager uniqueFilename:",
    "KXFileManager validateFilename:",
    "KXFileManager waitForFileCreation:timeout:",
    "KXFileManager waitForFileWrites:",
    "KXFileManager waitForFileWrites:lockFile:",
    "KXTaskEx create",
    "KXTaskEx setTheTask:",
    "KXTaskEx setupTimeout:",
    "KXTaskEx terminateAsyncTask",
    "KXTaskEx theTask",
    "KXTaskEx timeout",
    "statusCallback",
};

TEST(AllFailures, HaveEveryOperationThatCanFail) {
    std::set<std::string> expected;
    for (const std::string& operation : publicOperations())
        if (!operation.starts_with("KXLog") && !operation.starts_with("KXLocalPaths") &&
            !operation.starts_with("KXException") && !operation.starts_with("RK_") &&
            operation != "uncaughtExceptionHandler")
            expected.insert(operation);
    std::set<std::string> walked = kWithoutFailure;
    for (const FailureScenario& scenario : allFailures()) {
        EXPECT_FALSE(kWithoutFailure.contains(scenario.operation)) << scenario.operation;
        walked.insert(scenario.operation);
    }
    EXPECT_THAT(walked, testing::ContainerEq(expected));
}

TEST(AllFailures, AreForgottenByTheNextSuccess) {
    RefusingWorld world;
    EXPECT_FALSE(KXFileManager::removeFile(world.file));
    EXPECT_TRUE(KXFailure::last());
    EXPECT_TRUE(KXFileManager::removeFile(world.missing));
    EXPECT_FALSE(KXFailure::last());
}

TEST(AllFailures, AreKeptByQueries) {
    RefusingWorld world;
    EXPECT_FALSE(KXFileManager::removeFile(world.file));
    EXPECT_TRUE(KXFileManager::fileExistsAtPath(world.file));
    EXPECT_FALSE(KXFileManager::isDirectoryAtPath(world.file));
    EXPECT_FALSE(KXFileManager::isFileLocked(world.missing));
    ASSERT_TRUE(KXFailure::last());
    EXPECT_STREQ(KXFailure::last()->operation, "+[KXFileManager removeFile:]");
}

}  // namespace
}  // namespace quillmoor::test
