#include "tools/ditto/text.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <new>

#include "tests/children/child_tools.h"

namespace quillmoor::ditto {
namespace {

// In bytes, of this process.
rlim_t addressSpace() {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

TEST(DittoText, Utf8IsRecognised) {
    EXPECT_TRUE(isUtf8(""));
    EXPECT_TRUE(isUtf8("é 😀"));
    EXPECT_FALSE(isUtf8("\xe9"));
    EXPECT_FALSE(isUtf8("\xc0\x80"));
    EXPECT_FALSE(isUtf8("a\xed\xa0\x80"));
}

TEST(DittoText, NamesThatFoldToOneAreEqual) {
    EXPECT_EQ(foldedCase("README"), foldedCase("ReadMe"));
    EXPECT_EQ(foldedCase("É"), foldedCase("e\xcc\x81"));
    EXPECT_NE(foldedCase("a"), foldedCase("b"));
    EXPECT_EQ(foldedCase("AZ[@\xff"), "az[@\xff");
}

// Names that were folded in two ways would not be found equal.
TEST(DittoText, ALackOfMemoryIsNotTakenForInvalidUtf8) {
    if (test::kSanitized) GTEST_SKIP() << "sanitizers need the address space";
    const std::string name(std::size_t{32} << 20, 'A');
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    // Enough for copies of the name, but not for its code points of four bytes.
    const rlimit tight{addressSpace() + 2 * name.size(), before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
    EXPECT_THROW(foldedCase(name), std::bad_alloc);
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
}

}  // namespace
}  // namespace quillmoor::ditto
