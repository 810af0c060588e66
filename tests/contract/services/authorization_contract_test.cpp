#include "quillmoor/platform/authorization.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tests/auth/fake_authorization.h"
#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

const AuthorizationItemSet kAdmin =
    std::vector{AuthorizationItem{kAuthorizationRightAdmin, std::nullopt, 0}};

struct Service {
    const char* name;
    Authorization& (*authorization)();
};

Authorization& ofTheSystem() {
    return *native().authorization;
}
Authorization& ofTheFake() {
    static auto& fake = *new test::FakeAuthorization;
    return fake;
}

// What the fake, which returns what a test sets, keeps as well.
class AuthorizationContract : public testing::TestWithParam<Service> {
  protected:
    Authorization& service() { return GetParam().authorization(); }

    AuthorizationRef create() {
        AuthorizationRef reference = nullptr;
        EXPECT_EQ(service().create(std::nullopt, std::nullopt, 0, reference),
                  kAuthorizationSuccess);
        return reference;
    }
};

TEST_P(AuthorizationContract, MakesAReferenceWithoutAskingTheUser) {
    const AuthorizationRef one = create();
    const AuthorizationRef other = create();
    EXPECT_NE(one, nullptr);
    EXPECT_NE(other, nullptr);
    EXPECT_NE(one, other);
    EXPECT_EQ(service().free(one, 0), kAuthorizationSuccess);
    EXPECT_EQ(service().free(other, 0), kAuthorizationSuccess);
}

TEST_P(AuthorizationContract, GrantsARequestForNoRights) {
    const AuthorizationRef reference = create();
    EXPECT_EQ(service().copyRights(reference, std::nullopt, std::nullopt, 0),
              kAuthorizationSuccess);
    EXPECT_EQ(service().copyRights(reference, std::vector<AuthorizationItem>{}, std::nullopt, 0),
              kAuthorizationSuccess);
    EXPECT_EQ(service().free(reference, 0), kAuthorizationSuccess);
}

TEST_P(AuthorizationContract, AParentThatHandedNothingOnLeavesTheReferenceAlone) {
    AuthorizationRef reference = nullptr;
    EXPECT_NE(service().copyPrivilegedReference(0, reference), kAuthorizationSuccess);
    EXPECT_EQ(reference, nullptr);
}

INSTANTIATE_TEST_SUITE_P(All, AuthorizationContract,
                         testing::Values(Service{"Native", ofTheSystem},
                                         Service{"Fake", ofTheFake}),
                         nameOf<Service>);

// What only a system can keep.
class SystemAuthorizationContract : public testing::TestWithParam<BackEnd> {
  protected:
    void SetUp() override {
        ASSERT_EQ(service().create(std::nullopt, std::nullopt, 0, reference_),
                  kAuthorizationSuccess);
    }
    ~SystemAuthorizationContract() override { service().free(reference_, 0); }

    Authorization& service() { return *GetParam().platform().authorization; }
    AuthorizationStatus askFor(const AuthorizationItemSet& rights) {
        return service().copyRights(reference_, rights, std::nullopt,
                                    kAuthorizationFlagExtendRights);
    }
    AuthorizationStatus start(const std::string& tool, const StringList& arguments = {}) {
        return service().executeWithPrivileges(reference_, tool, 0, arguments, stream_);
    }
    std::string rest() {
        std::string text;
        for (int each = stream_->readCharacter(); each >= 0; each = stream_->readCharacter())
            text += static_cast<char>(each);
        return text;
    }

    AuthorizationRef reference_ = nullptr;
    std::shared_ptr<AuthorizedToolStream> stream_;
};

TEST_P(SystemAuthorizationContract, RejectsANullReference) {
    EXPECT_EQ(service().copyRights(nullptr, kAdmin, std::nullopt, 0),
              kAuthorizationInvalidReference);
    EXPECT_EQ(service().executeWithPrivileges(nullptr, "/bin/true", 0, {}, stream_),
              kAuthorizationInvalidReference);
    EXPECT_EQ(service().free(nullptr, 0), kAuthorizationInvalidReference);
    EXPECT_EQ(stream_, nullptr);
}

TEST_P(SystemAuthorizationContract, StartsNoToolWithoutAuthorization) {
    EXPECT_EQ(start("/bin/true"), kAuthorizationDenied);
    EXPECT_EQ(stream_, nullptr);
}

TEST_P(SystemAuthorizationContract, DeniesOtherRights) {
    EXPECT_EQ(askFor(std::vector{AuthorizationItem{"system.preferences", std::nullopt, 0}}),
              kAuthorizationDenied);
    EXPECT_EQ(start("/bin/true"), kAuthorizationDenied);
}

class UserAuthorizationContract : public SystemAuthorizationContract {
  protected:
    void SetUp() override {
        if (::getuid() == 0) GTEST_SKIP() << "about ordinary users";
        SystemAuthorizationContract::SetUp();
    }
};

TEST_P(UserAuthorizationContract, DoesNotAskWithoutInteraction) {
    EXPECT_EQ(askFor(kAdmin), kAuthorizationInteractionNotAllowed);
    EXPECT_EQ(start("/bin/true"), kAuthorizationDenied);
}

class RootAuthorizationContract : public SystemAuthorizationContract {
  protected:
    void SetUp() override {
        if (::getuid() != 0) GTEST_SKIP() << "about root";
        SystemAuthorizationContract::SetUp();
        ASSERT_EQ(askFor(kAdmin), kAuthorizationSuccess);
    }
    const test::TempFolder folder_;
};

TEST_P(RootAuthorizationContract, AToolGetsItsArgumentsByteForByte) {
    ASSERT_EQ(start("/usr/bin/printf", {"%s|", "two words", "", "\xff", "line\nbreak", "$HOME"}),
              kAuthorizationSuccess);
    EXPECT_EQ(rest(), "two words||\xff|line\nbreak|$HOME|");
    EXPECT_EQ(stream_->readCharacter(), -1);
}

TEST_P(RootAuthorizationContract, AToolIsWrittenToAndReadFrom) {
    ASSERT_EQ(start("/usr/bin/head", {"-n", "2"}), kAuthorizationSuccess);
    EXPECT_TRUE(stream_->write("one\n"));
    EXPECT_TRUE(stream_->write("two\n"));
    EXPECT_EQ(rest(), "one\ntwo\n");
}

TEST_P(RootAuthorizationContract, AToolOutlivesItsReferenceAndItsStream) {
    ASSERT_EQ(start("/bin/sh", {"-c", "read line; echo $line > \"$0\"", folder_ / "written"}),
              kAuthorizationSuccess);
    ASSERT_EQ(service().free(reference_, 0), kAuthorizationSuccess);
    ASSERT_EQ(service().create(std::nullopt, std::nullopt, 0, reference_), kAuthorizationSuccess);
    EXPECT_TRUE(stream_->write("late\n"));
    EXPECT_EQ(rest(), "");
    EXPECT_EQ(test::readFile(folder_ / "written"), "late\n");
}

TEST_P(RootAuthorizationContract, ReportsAToolThatCannotBeStarted) {
    const std::string noTool = folder_.writeFile("not executable");
    for (const std::string& tool :
         {folder_ / "missing", folder_.path(), noTool, std::string("true"), std::string()}) {
        stream_.reset();
        EXPECT_EQ(start(tool), kAuthorizationToolExecuteFailure) << tool;
        EXPECT_EQ(stream_, nullptr) << tool;
    }
}

INSTANTIATE_TEST_SUITE_P(All, SystemAuthorizationContract, backEnds(), nameOf<BackEnd>);
INSTANTIATE_TEST_SUITE_P(All, UserAuthorizationContract, backEnds(), nameOf<BackEnd>);
INSTANTIATE_TEST_SUITE_P(All, RootAuthorizationContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
