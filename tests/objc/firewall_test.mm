#include "objc/bridge.h"

#include <stdexcept>

#include "tests/objc/objc_support.h"

namespace quillmoor::test {

using objc::exceptionFrom;

TEST(Firewall, ReturnsNothingForABodyThatReturns) {
    EXPECT_FALSE(exceptionFrom([] {}));
}

TEST(Firewall, ReturnsTheExceptionThatWasThrown) {
    const auto exception = exceptionFrom([] { throw platform::Exception("Name", "a reason"); });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->name(), "Name");
    EXPECT_EQ(exception->reason(), "a reason");
}

TEST(Firewall, NamesExceptionsOfOtherTypes) {
    EXPECT_EQ(exceptionFrom([] { throw std::runtime_error("a reason"); })->reason(), "a reason");
    EXPECT_EQ(exceptionFrom([] { throw std::bad_alloc(); })->name(), "std::bad_alloc");
    EXPECT_EQ(exceptionFrom([] { throw 1; })->name(), "int");
}

TEST(Firewall, ReturnsTheExceptionThatWasRaised) {
    const auto exception = exceptionFrom([] { [NSException raise:@"Name" format:@"a reason"]; });
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->name(), "Name");
    EXPECT_EQ(exception->reason(), "a reason");
}

TEST(Firewall, TellsTheLanguagesApart) {
    const auto nested = [](const std::function<void()>& body) {
        const auto inner = exceptionFrom(body);
        return exceptionFrom([&] { throw platform::Exception("Outer", inner->reason()); });
    };
    EXPECT_EQ(nested([] { [NSException raise:@"Name" format:@"raised"]; })->reason(), "raised");
    EXPECT_EQ(nested([] { throw std::runtime_error("thrown"); })->reason(), "thrown");
}

}  // namespace quillmoor::test
