#include "quillmoor/platform/posix/trace/traced_authorization_posix.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/platform/support/captured_trace.h"

namespace quillmoor::platform::posix {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

char marker = 0;
const auto kReference = reinterpret_cast<AuthorizationRef>(&marker);

class AuthorizationBelow final : public Authorization {
  public:
    AuthorizationStatus create(const AuthorizationItemSet&, const AuthorizationItemSet&,
                               AuthorizationFlags, AuthorizationRef& reference) override {
        reference = kReference;
        return kAuthorizationSuccess;
    }
    AuthorizationStatus copyRights(AuthorizationRef reference, const AuthorizationItemSet& rights,
                                   const AuthorizationItemSet& environment,
                                   AuthorizationFlags flags) override {
        EXPECT_EQ(reference, kReference);
        EXPECT_EQ(rights->front().name, kAuthorizationRightAdmin);
        EXPECT_EQ(environment->back().value, "hunter2");
        EXPECT_EQ(flags, kAuthorizationFlagExtendRights);
        return kAuthorizationDenied;
    }
    AuthorizationStatus free(AuthorizationRef reference, AuthorizationFlags) override {
        EXPECT_EQ(reference, kReference);
        return kAuthorizationSuccess;
    }
    AuthorizationStatus copyPrivilegedReference(AuthorizationFlags, AuthorizationRef&) override {
        return kAuthorizationInternal;
    }
    AuthorizationStatus executeWithPrivileges(AuthorizationRef reference, const std::string& tool,
                                              AuthorizationFlags, const StringList& arguments,
                                              std::shared_ptr<AuthorizedToolStream>&) override {
        EXPECT_EQ(reference, kReference);
        EXPECT_EQ(tool, "/bin/tool\n");
        EXPECT_EQ(arguments.back(), "hunter3");
        return kAuthorizationToolExecuteFailure;
    }
};

TEST(TracedAuthorization, PassesEachCallOnAndShowsNoSecret) {
    AuthorizationBelow below;
    TracedAuthorization traced(below);
    test::CapturedTrace trace;
    AuthorizationRef reference = nullptr;
    EXPECT_EQ(traced.create({}, {}, 0, reference), kAuthorizationSuccess);
    EXPECT_EQ(reference, kReference);
    const AuthorizationItemSet rights{{{kAuthorizationRightAdmin, {}, 0}}};
    const AuthorizationItemSet credentials{
        {{"username", "jo", 0}, {kAuthorizationEnvironmentPassword, "hunter2", 0}}};
    EXPECT_EQ(traced.copyRights(reference, rights, credentials, kAuthorizationFlagExtendRights),
              kAuthorizationDenied);
    EXPECT_EQ(traced.copyPrivilegedReference(0, reference), kAuthorizationInternal);
    std::shared_ptr<AuthorizedToolStream> stream;
    EXPECT_EQ(traced.executeWithPrivileges(reference, "/bin/tool\n", 0, {"a", "hunter3"}, stream),
              kAuthorizationToolExecuteFailure);
    EXPECT_EQ(traced.free(reference, 0), kAuthorizationSuccess);
    const std::string text = trace.text();
    EXPECT_THAT(
        test::traceLines(text),
        ElementsAre("authorization create(nil, nil, 0) = 0",
                    "authorization copyRights({\"system.privilege.admin\"}, "
                    "{\"username\", \"password\"}, 0x2) = -60005",
                    "authorization copyPrivilegedReference(0) = -60008",
                    "authorization executeWithPrivileges(\"/bin/tool\\x0a\", 2 arguments, 0) = "
                    "-60031",
                    "authorization free(0) = 0"));
    EXPECT_THAT(text, Not(HasSubstr("hunter")));
    EXPECT_THAT(text, Not(HasSubstr("jo\"")));
}

}  // namespace
}  // namespace quillmoor::platform::posix
