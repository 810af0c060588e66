#include "quillmoor/platform/linux/authorization/helper/arguments_linux.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

using Texts = std::vector<const char*>;

TEST(HelperArguments, AreThreeInAFixedOrder) {
    const Texts texts{"--connect", "/run/a b\n/rights", "--uid", "1000", "--pid", "42"};
    const auto arguments = parseArguments(texts);
    ASSERT_TRUE(arguments.has_value());
    EXPECT_EQ(arguments->path, "/run/a b\n/rights");
    EXPECT_EQ(arguments->uid, 1000U);
    EXPECT_EQ(arguments->pid, 42);
}

TEST(HelperArguments, AreRefusedInAnyOtherForm) {
    const std::vector<Texts> wrong{
        {},
        {"--connect", "/s", "--uid", "0", "--pid"},
        {"--connect", "/s", "--uid", "0", "--pid", "1", "more"},
        {"--uid", "0", "--connect", "/s", "--pid", "1"},
        {"--connect", "s", "--uid", "0", "--pid", "1"},
        {"--connect", "", "--uid", "0", "--pid", "1"},
        {"--connect", "/s", "--uid", "-1", "--pid", "1"},
        {"--connect", "/s", "--uid", "", "--pid", "1"},
        {"--connect", "/s", "--uid", "4294967296", "--pid", "1"},
        {"--connect", "/s", "--uid", "1x", "--pid", "1"},
        {"--connect", "/s", "--uid", " 1", "--pid", "1"},
        {"--connect", "/s", "--uid", "0", "--pid", "0"},
        {"--connect", "/s", "--uid", "0", "--pid", "-1"},
        {"--connect", "/s", "--uid", "0", "--pid", "99999999999"},
    };
    for (const Texts& texts : wrong) EXPECT_FALSE(parseArguments(texts)) << texts.size();
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization::helper
