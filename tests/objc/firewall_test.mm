#include "objc/firewall.h"

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

TEST(Firewall, LetsExceptionsOfObjectiveCPass) {
    EXPECT_EQ(
        nameOfRaised([] { exceptionFrom([] { [NSException raise:@"Name" format:@"a reason"]; }); }),
        "Name");
}

}  // namespace quillmoor::test
