#import "objc/KXFailure.h"

#include <cerrno>

#import "objc/KXTaskEx.h"
#include "quillmoor/base/operation.h"
#include "tests/objc/files_world.h"
#include "tests/objc/objc_support.h"

using namespace quillmoor::test;
using quillmoor::Error;
using quillmoor::noteAuthorization;
using quillmoor::noteFailure;
using quillmoor::OptionalPath;
using quillmoor::recorded;
using Failure = quillmoor::KXFailure;

namespace {

const OptionalPath kFile = "/folder/file";
const OptionalPath kCopy = "/other/copy";

// A failure with every field, and the object for it.
class FailedWorld {
  public:
    FailedWorld() {
        Error error{EACCES, "“file” couldn’t be moved: Permission denied"};
        error.isHalfDone = true;
        recorded({"+[Class move:toPath:]", kFile, kCopy}, [&] {
            noteAuthorization(Failure::Authorization::Canceled, -60006);
            return noteFailure(error);
        });
    }
    ~FailedWorld() { Failure::clear(); }
    KXFailure* failure() const { return [KXFailure lastFailure]; }
};

}  // namespace

TEST(KXFailure, lastFailure) {
    Failure::clear();
    EXPECT_EQ([KXFailure lastFailure], nil);
    const FailedWorld world;
    EXPECT_NE([KXFailure lastFailure], nil);
    recorded("another", [] { return true; });
    EXPECT_EQ([KXFailure lastFailure], nil);
}

TEST(KXFailure, clearLastFailure) {
    const FailedWorld world;
    [KXFailure clearLastFailure];
    EXPECT_EQ([KXFailure lastFailure], nil);
}

TEST(KXFailureObject, operation) {
    EXPECT_EQ(textOf([FailedWorld().failure() operation]), "+[Class move:toPath:]");
}

TEST(KXFailureObject, reason) {
    EXPECT_EQ([FailedWorld().failure() reason], KXFailureReasonSystem);
    recorded("op", [] { return noteFailure(Failure::Reason::TimedOut); });
    EXPECT_EQ([[KXFailure lastFailure] reason], KXFailureReasonTimedOut);
}

TEST(KXFailureObject, path) {
    EXPECT_EQ(textOf([FailedWorld().failure() path]), "/folder/file");
}

TEST(KXFailureObject, toPath) {
    EXPECT_EQ(textOf([FailedWorld().failure() toPath]), "/other/copy");
}

TEST(KXFailureObject, systemError) {
    EXPECT_EQ([FailedWorld().failure() systemError], EACCES);
}

TEST(KXFailureObject, platformStatus) {
    recorded("op", [] { return quillmoor::noteStatus(-43); });
    EXPECT_EQ([[KXFailure lastFailure] platformStatus], -43);
}

TEST(KXFailureObject, failureDescription) {
    EXPECT_EQ(textOf([FailedWorld().failure() failureDescription]),
              "“file” couldn’t be moved: Permission denied");
}

TEST(KXFailureObject, description) {
    EXPECT_EQ(textOf([FailedWorld().failure() description]),
              "“file” couldn’t be moved: Permission denied");
}

TEST(KXFailureObject, authorization) {
    EXPECT_EQ([FailedWorld().failure() authorization], KXFailureAuthorizationCanceled);
}

TEST(KXFailureObject, authorizationStatus) {
    EXPECT_EQ([FailedWorld().failure() authorizationStatus], -60006);
}

TEST(KXFailureObject, isHalfDone) {
    EXPECT_TRUE([FailedWorld().failure() isHalfDone]);
    recorded("op", [] { return false; });
    EXPECT_FALSE([[KXFailure lastFailure] isHalfDone]);
}

TEST(ObjcFailure, HasNoPathThatIsNotValidUtf8) {
    recorded({"op", OptionalPath("/not \xFF UTF-8")}, [] { return false; });
    KXFailure* const failure = [KXFailure lastFailure];
    EXPECT_EQ([failure path], nil);
    EXPECT_EQ([failure toPath], nil);
}

TEST(KXFailureObject, dealloc) {
    KXFailure* kept = nil;
    @autoreleasepool {
        kept = [FailedWorld().failure() retain];
    }
    EXPECT_EQ(textOf([kept path]), "/folder/file");
    [kept release];
}

TEST(ObjcFailure, IsThatOfTheMethodThatWasCalled) {
    FilesWorld world;
    EXPECT_FALSE([KXFileManager removeFolderIfEmpty:@"/"]);
    EXPECT_EQ([[KXFailure lastFailure] reason], KXFailureReasonNotEmpty);
    EXPECT_EQ([KXTaskEx runTask:@"/missing" arguments:nil], NO);
    EXPECT_EQ(textOf([[KXFailure lastFailure] operation]), "+[KXTaskEx runTask:arguments:task:]");
    EXPECT_EQ([[KXFailure lastFailure] reason], KXFailureReasonNotExecutable);
}
