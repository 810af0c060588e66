#include "quillmoor/files/operation_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "quillmoor/platform/exception.h"
#include "tests/files/files_fixture.h"

namespace quillmoor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class OperationSupport : public test::FilesTest {
  protected:
    OperationSupport() { startLog(); }
};

TEST_F(OperationSupport, IsGoneIsTrueOnlyForAMissingItem) {
    EXPECT_TRUE(isGone(std::nullopt));
    EXPECT_TRUE(isGone(folder_ / "missing"));
    EXPECT_FALSE(isGone(folder_.writeFile("file")));
}

TEST_F(OperationSupport, ParentOfANameWithoutAFolderPartIsTheCurrentFolder) {
    EXPECT_EQ(parentFolder("name"), ".");
    EXPECT_EQ(parentFolder("/name"), "/");
    EXPECT_EQ(parentFolder("some/where/name"), "some/where");
    EXPECT_EQ(parentFolder(""), "");
}

TEST_F(OperationSupport, WithAuthorizationReturnsTheSessionsResult) {
    KXAuthorization* seen = nullptr;
    EXPECT_TRUE(withAuthorization("method", [&](KXAuthorization& session) {
        seen = &session;
        return true;
    }));
    EXPECT_EQ(seen, KXAuthorization::sharedController());
    EXPECT_FALSE(withAuthorization("method", [](KXAuthorization&) { return false; }));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(OperationSupport, WithAuthorizationReportsAnExceptionAndReturnsFalse) {
    EXPECT_FALSE(withAuthorization("method", [](KXAuthorization&) -> bool {
        throw platform::Exception("Name", "the reason");
    }));
    EXPECT_THAT(logged(), ElementsAre(testing::AllOf(testing::HasSubstr("method"),
                                                     testing::HasSubstr("the reason"))));
}

TEST_F(OperationSupport, AfterExceptionReportsAndReturnsTheFailure) {
    EXPECT_EQ(afterException(platform::Exception("Name", "first reason"), "one", 7), 7);
    EXPECT_EQ(afterException(std::runtime_error("second reason"), "two", 8), 8);
    EXPECT_EQ(afterException(std::bad_alloc(), "three", false), false);
    EXPECT_THAT(logged(),
                ElementsAre(testing::AllOf(testing::HasSubstr("one"), testing::HasSubstr("first")),
                            testing::AllOf(testing::HasSubstr("two"), testing::HasSubstr("second")),
                            testing::HasSubstr("three")));
}

TEST_F(OperationSupport, EntriesOfAFolderThatCannotBeListedAreEmpty) {
    EXPECT_THAT(entriesOf(std::nullopt), IsEmpty());
    EXPECT_THAT(entriesOf(folder_ / "missing"), IsEmpty());
    folder_.writeFile("listed/.hidden");
    EXPECT_THAT(entriesOf(folder_ / "listed"), ElementsAre(".hidden"));
}

}  // namespace
}  // namespace quillmoor
