#include "quillmoor/base/operation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <stdexcept>

#include "tests/support/failing_allocations.h"

namespace quillmoor::test {
namespace {

using Reason = KXFailure::Reason;
using Authorization = KXFailure::Authorization;
using testing::Optional;

const OptionalPath kFile = "/folder/file";
const OptionalPath kCopy = "/other/copy";

class OperationTest : public testing::Test {
  protected:
    OperationTest() { KXFailure::clear(); }
    ~OperationTest() override { KXFailure::clear(); }

    static KXFailure last() { return KXFailure::last().value_or(KXFailure{}); }
};

TEST_F(OperationTest, RecordsAFailureWithItsCall) {
    EXPECT_FALSE(recorded({"op", kFile, kCopy}, [] { return noteFailure(Reason::MissingItem); }));
    const KXFailure failure = last();
    EXPECT_STREQ(failure.operation, "op");
    EXPECT_EQ(failure.reason, Reason::MissingItem);
    EXPECT_EQ(failure.path, kFile);
    EXPECT_EQ(failure.toPath, kCopy);
    EXPECT_EQ(failure.systemError, 0);
    EXPECT_EQ(failure.platformStatus, 0);
    EXPECT_EQ(failure.description, "“file” doesn’t exist");
    EXPECT_EQ(failure.authorization, Authorization::NotTried);
    EXPECT_EQ(failure.authorizationStatus, 0);
    EXPECT_FALSE(failure.isHalfDone);
}

TEST_F(OperationTest, ClearsTheRecordWhenItSucceeds) {
    recorded("op", [] { return noteFailure(Reason::MissingItem); });
    recorded("other", [] { return true; });
    EXPECT_FALSE(KXFailure::last());
}

TEST_F(OperationTest, KeepsTheRecordUntilItEnds) {
    recorded("op", [] { return noteFailure(Reason::MissingItem); });
    recorded("other", [] {
        EXPECT_STREQ(last().operation, "op");
        return true;
    });
}

TEST_F(OperationTest, IsJudgedByItsBooleanAndNotByItsNotes) {
    recorded("op", [] {
        noteFailure(Reason::MissingItem);
        return true;
    });
    EXPECT_FALSE(KXFailure::last());
    recorded({"op", kFile}, [] { return false; });
    EXPECT_EQ(last().reason, Reason::System);
    EXPECT_EQ(last().description, "the item: the system gave no reason");
}

TEST_F(OperationTest, IsJudgedByItsStatus) {
    recorded("op", []() -> std::int32_t {
        noteFailure(Reason::NotExecutable);
        return 0;
    });
    EXPECT_FALSE(KXFailure::last());
    recorded("op", []() -> std::int32_t { return -1; });
    EXPECT_TRUE(KXFailure::last());
}

TEST_F(OperationTest, OfAnotherResultFailsByItsNotes) {
    EXPECT_EQ(recorded("op", [] { return std::string("text"); }), "text");
    EXPECT_FALSE(KXFailure::last());
    recorded("op", [] { noteFailure(Reason::TimedOut); });
    EXPECT_EQ(last().reason, Reason::TimedOut);
}

TEST_F(OperationTest, TakesTheLastNote) {
    recorded({"op", kFile}, [] {
        noteFailure(Reason::MissingItem);
        return noteFailure(Error{EACCES, "“file” couldn’t be removed: Permission denied"}, kCopy);
    });
    EXPECT_EQ(last().reason, Reason::System);
    EXPECT_EQ(last().systemError, EACCES);
    EXPECT_EQ(last().path, kCopy);
    EXPECT_EQ(last().description, "“file” couldn’t be removed: Permission denied");
}

TEST_F(OperationTest, TakesTheLastFailureInsideItUnderItsOwnName) {
    recorded({"outer", kCopy}, [] {
        recorded({"first", kCopy}, [] { return noteFailure(Reason::NotMounted); });
        recorded({"second", kFile}, [] { return noteFailure(Reason::MissingItem); });
        recorded({"third", kCopy}, [] { return true; });
        return false;
    });
    EXPECT_STREQ(last().operation, "outer");
    EXPECT_EQ(last().reason, Reason::MissingItem);
    EXPECT_EQ(last().path, kFile);
    EXPECT_EQ(last().description, "“file” doesn’t exist");
}

TEST_F(OperationTest, PrefersItsOwnNoteToAFailureInsideIt) {
    recorded({"outer", kCopy}, [] {
        noteFailure(Error{EIO, "disk"});
        return recorded({"inner", kFile}, [] { return noteFailure(Reason::MissingItem); });
    });
    EXPECT_EQ(last().systemError, EIO);
    EXPECT_EQ(last().path, kCopy);
}

TEST_F(OperationTest, DropsAFailureInsideItWhenItSucceeds) {
    recorded("outer", [] {
        recorded("inner", [] { return noteFailure(Reason::MissingItem); });
        return true;
    });
    EXPECT_FALSE(KXFailure::last());
}

TEST_F(OperationTest, KeepsHowTheRequestForRightsEnded) {
    recorded({"outer", kFile}, [] {
        noteFailure(Error{EACCES, "denied"});
        return recorded("inner", [] {
            noteAuthorization(Authorization::Canceled, -60006);
            return noteFailure(Reason::NotAuthorized);
        });
    });
    EXPECT_EQ(last().reason, Reason::System);
    EXPECT_EQ(last().systemError, EACCES);
    EXPECT_EQ(last().authorization, Authorization::Canceled);
    EXPECT_EQ(last().authorizationStatus, -60006);
}

TEST_F(OperationTest, KeepsGrantedRightsWhenAnotherReasonFollows) {
    recorded("outer", [] {
        recorded("inner", [] {
            noteAuthorization(Authorization::Granted);
            return true;
        });
        recorded("later", [] { return true; });
        return noteFailure(Reason::TimedOut);
    });
    EXPECT_EQ(last().reason, Reason::TimedOut);
    EXPECT_EQ(last().authorization, Authorization::Granted);
}

TEST_F(OperationTest, OfManyItemsKeepsHowTheRequestForTheFailedOneEnded) {
    const auto item = [](Authorization result, bool succeeds) {
        recorded({"item", kFile}, [&] {
            noteAuthorization(result);
            return succeeds || noteFailure(Error{EACCES, "denied"});
        });
    };
    recorded("all", [&] {
        item(Authorization::Canceled, false);
        item(Authorization::Granted, true);
        return false;
    });
    EXPECT_EQ(last().authorization, Authorization::Canceled);
    recorded("all", [&] {
        item(Authorization::Granted, true);
        item(Authorization::NotTried, false);
        return false;
    });
    EXPECT_EQ(last().authorization, Authorization::NotTried);
}

TEST_F(OperationTest, TakesPathsBeforeTheyAreGone) {
    std::optional<OptionalPath> path(kFile);
    recorded({"op", *path}, [&] {
        noteFailure(Reason::MissingItem);
        *path = "/another";
        return false;
    });
    EXPECT_EQ(last().path, kFile);
}

TEST_F(OperationTest, WithoutAnItemIsDescribedWithoutAName) {
    recorded("op", [] { return noteFailure(Reason::NotAuthorized); });
    EXPECT_EQ(last().description, "administrator rights were not granted");
    recorded("op", [] { return noteFailure(Reason::MissingItem); });
    EXPECT_EQ(last().description, "the item doesn’t exist");
}

TEST_F(OperationTest, NamesTheItemAndNotTheToolThatHadNoRights) {
    recorded({"remove", kFile}, [] {
        return recorded({"execute", OptionalPath("/bin/rm")},
                        [] { return noteFailure(Reason::NotAuthorized); });
    });
    EXPECT_EQ(last().path, kFile);
    EXPECT_EQ(last().description, "“file”: administrator rights were not granted");
}

TEST_F(OperationTest, IsHalfDoneWhenAPartWasDone) {
    recorded("op", [] {
        EXPECT_FALSE(notePartDone(false));
        return noteFailure(Reason::MissingItem);
    });
    EXPECT_FALSE(last().isHalfDone);
    recorded("op", [] {
        EXPECT_TRUE(notePartDone());
        return noteFailure(Reason::MissingItem);
    });
    EXPECT_TRUE(last().isHalfDone);
}

TEST_F(OperationTest, IsHalfDoneWhenThePlatformSaysSo) {
    Error error{EACCES, "text"};
    error.isHalfDone = true;
    recorded("outer", [&] { return recorded("inner", [&] { return noteFailure(error); }); });
    EXPECT_TRUE(last().isHalfDone);
    error.isHalfDone = false;
    error.copyRemains = true;
    recorded("op", [&] { return noteFailure(error); });
    EXPECT_TRUE(last().isHalfDone);
}

TEST_F(OperationTest, RecordsAndThrowsWhatIsThrown) {
    EXPECT_THROW(recorded({"op", kFile}, []() -> bool { throw std::runtime_error("why"); }),
                 std::runtime_error);
    EXPECT_EQ(last().reason, Reason::Exception);
    EXPECT_EQ(last().description, "why");
    EXPECT_EQ(last().path, kFile);
    EXPECT_THROW(recorded("op", []() -> bool { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_EQ(last().reason, Reason::OutOfMemory);
    EXPECT_EQ(last().description, "not enough memory");
}

TEST_F(OperationTest, ThatThrowsAnythingElseHasFailed) {
    EXPECT_THROW(recorded("op", []() -> bool { throw 1; }), int);
    EXPECT_EQ(last().reason, Reason::Exception);
    EXPECT_EQ(last().description, "an exception of an unknown class");
}

TEST_F(OperationTest, KeepsAStatusOfThePlatform) {
    recorded({"op", kFile}, [] { return noteStatus(-43); });
    EXPECT_EQ(last().reason, Reason::System);
    EXPECT_EQ(last().platformStatus, -43);
    EXPECT_EQ(last().description, "“file”: error -43");
    recorded("op", [] { return noteStatus(0); });
    EXPECT_FALSE(KXFailure::last());
}

TEST_F(OperationTest, WithoutATextIsDescribedByTheSystemsNumber) {
    recorded({"op", kFile}, [] { return noteFailure(Error{ENOMEM, {}}); });
    EXPECT_EQ(last().description, "“file”: error " + std::to_string(ENOMEM));
}

TEST_F(OperationTest, DescribesEachReason) {
    const auto described = [](Reason reason) {
        recorded({"op", kFile}, [&] { return noteFailure(reason); });
        return last().description;
    };
    EXPECT_EQ(described(Reason::MissingArgument), "an argument is missing");
    EXPECT_EQ(described(Reason::ProtectedFolder), "“file” is a folder of the system");
    EXPECT_EQ(described(Reason::NotMounted), "“file” is on a volume that is not mounted");
    EXPECT_EQ(described(Reason::NotEmpty), "“file” is not empty");
    EXPECT_EQ(described(Reason::NotExecutable), "“file” is not executable");
    EXPECT_EQ(described(Reason::ToolFailed), "“file” couldn’t be created by the tool");
    EXPECT_EQ(described(Reason::TimedOut), "“file”: timed out");
}

TEST_F(OperationTest, OfAHandlerIsNotPartOfTheOneThatIsInterrupted) {
    recorded({"outer", kCopy}, [] {
        {
            const OutsideOperations handlers;
            recorded({"handler", kFile}, [] { return noteFailure(Reason::MissingItem); });
            EXPECT_STREQ(last().operation, "handler");
        }
        return noteFailure(Reason::TimedOut);
    });
    EXPECT_STREQ(last().operation, "outer");
    EXPECT_EQ(last().reason, Reason::TimedOut);
}

TEST_F(OperationTest, NotesOutsideOperationsHaveNoEffect) {
    EXPECT_FALSE(noteFailure(Reason::MissingItem));
    EXPECT_FALSE(noteFailure(Error{EIO, "disk"}));
    EXPECT_FALSE(noteFailure(std::runtime_error("why")));
    EXPECT_FALSE(noteStatus(-1));
    EXPECT_TRUE(notePartDone());
    noteAuthorization(Authorization::Denied);
    EXPECT_FALSE(KXFailure::last());
}

TEST_F(OperationTest, WithoutMemoryKeepsTheNumbers) {
    const OptionalPath path = "/" + std::string(100, 'x');
    const Error error{ENOSPC, std::string(100, 'y')};
    setAllocationFails([] { return true; });
    recorded({"op", path}, [&] { return noteFailure(error); });
    setAllocationFails(nullptr);
    EXPECT_STREQ(last().operation, "op");
    EXPECT_EQ(last().systemError, ENOSPC);
    EXPECT_EQ(last().path, std::nullopt);
    EXPECT_EQ(last().description, "");
}

}  // namespace
}  // namespace quillmoor::test
