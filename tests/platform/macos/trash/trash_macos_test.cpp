#include "quillmoor/platform/trash.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/fake_workspace.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using Operation = test::FakeWorkspace::Operation;

class MacTrashTest : public testing::Test {
  protected:
    Trash& trash() { return *nativeTrash(); }

    test::FakeWorkspace workspace_;
    test::TempFolder folder_;
    const std::string desk_ = folder_.makeFolder("desk");
    const std::string trash_ = folder_.makeFolder(".Trash");
};

TEST_F(MacTrashTest, TheWorkspaceRecyclesEachItem) {
    workspace_.trash = trash_;
    folder_.writeFile("desk/a");
    folder_.writeFile("desk/\xC3\xA9 b");
    const RecycleOutcome outcome = trash().recycle(desk_, trash_, {"a", "\xC3\xA9 b"});
    EXPECT_TRUE(outcome);
    EXPECT_TRUE(outcome.remainingCopies.empty());
    ASSERT_EQ(workspace_.operations.size(), 2U);
    EXPECT_EQ(workspace_.operations[0], (Operation{"recycle", desk_, trash_, {"a"}, false}));
    EXPECT_EQ(workspace_.operations[1],
              (Operation{"recycle", desk_, trash_, {"\xC3\xA9 b"}, false}));
}

TEST_F(MacTrashTest, AllItemsAreTriedAfterAFailure) {
    workspace_.trash = trash_;
    folder_.writeFile("desk/z");
    EXPECT_FALSE(trash().recycle(desk_, trash_, {"missing", "z"}));
    EXPECT_FALSE(test::somethingAt(desk_ + "/z"));
    EXPECT_TRUE(test::somethingAt(trash_ + "/z"));
}

TEST_F(MacTrashTest, NothingIsMovedWithoutTheSystemsOperation) {
    workspace_.trash = trash_;
    folder_.writeFile("desk/a");
    const macos::CallFinder before =
        macos::exchangeCallFinder([](const char*) -> void* { return nullptr; });
    EXPECT_FALSE(trash().recycle(desk_, trash_, {"a"}));
    macos::exchangeCallFinder(before);
    EXPECT_TRUE(workspace_.operations.empty());
    EXPECT_TRUE(test::somethingAt(desk_ + "/a"));
}

TEST_F(MacTrashTest, TheUsersOwnTrashAndTheCurrentFolderAreTheDefaults) {
    EXPECT_FALSE(trash().recycle("", std::nullopt, {"a"}));
    ASSERT_EQ(workspace_.operations.size(), 1U);
    EXPECT_EQ(workspace_.operations[0].source, std::filesystem::current_path());
    EXPECT_EQ(workspace_.operations[0].destination, "");
}

TEST_F(MacTrashTest, WhatCannotBeNamedIsNotPassedOn) {
    for (const std::string& name : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), std::string("a\0", 2), std::string("\xff")})
        EXPECT_FALSE(trash().recycle(desk_, trash_, {name})) << name;
    EXPECT_FALSE(trash().recycle("/\xff", trash_, {"a"}));
    EXPECT_FALSE(trash().recycle(desk_, "/\xff", {"a"}));
    EXPECT_TRUE(trash().recycle(desk_, trash_, {}));
    EXPECT_TRUE(workspace_.operations.empty());
}

TEST_F(MacTrashTest, WithoutTheObsoleteMethodNothingIsMoved) {
    workspace_.trash = trash_;
    workspace_.missing = {"performFileOperation:source:destination:files:tag:"};
    folder_.writeFile("desk/a");
    EXPECT_FALSE(trash().recycle(desk_, trash_, {"a"}));
    EXPECT_TRUE(test::somethingAt(desk_ + "/a"));
}

TEST_F(MacTrashTest, NoRecordsAreKept) {
    folder_.writeFile(".Trash/a", "text");
    EXPECT_TRUE(trash().prepareTrash(trash_));
    EXPECT_FALSE(trash().recordPendingTrash(trash_, "a", desk_ + "/a"));
    trash().discardTrashRecord(trash_, "a");
    EXPECT_EQ(test::readFile(trash_ + "/a"), "text");
}

TEST_F(MacTrashTest, WhatTheWorkspaceRaisesIsThrown) {
    workspace_.raises = true;
    try {
        trash().recycle(desk_, trash_, {"a"});
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.name(), "Name");
        EXPECT_EQ(exception.reason(), "a reason");
    }
}

}  // namespace
}  // namespace quillmoor::platform
