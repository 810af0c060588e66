#include "quillmoor/platform/macos/ground/core_foundation_macos.h"

#include <gtest/gtest.h>

#include "tests/platform/macos/fakes/fake_core_foundation.h"

namespace quillmoor::platform::macos {
namespace {

using test::FakeObjects;

TEST(CoreFoundation, AnObjectIsReleasedOnceByItsLastOwner) {
    const int before = FakeObjects::alive();
    {
        CFOwned<CFStringRef> text(FakeObjects::makeString("text"));
        EXPECT_EQ(FakeObjects::alive(), before + 1);
        const CFOwned<CFStringRef> moved(std::move(text));
        const CFOwned<CFStringRef> none(nullptr);
        EXPECT_FALSE(none);
        EXPECT_EQ(textOf(moved.get()), "text");
    }
    EXPECT_EQ(FakeObjects::alive(), before);
    EXPECT_EQ(FakeObjects::wronglyReleased(), 0);
}

TEST(CoreFoundation, ATextIsItsUtf8) {
    const CFOwned<CFStringRef> text(FakeObjects::makeString("caf\xC3\xA9"));
    const CFOwned<CFStringRef> empty(FakeObjects::makeString(""));
    const CFOwned<CFStringRef> unwritable(FakeObjects::makeString(std::string("\0", 1)));
    EXPECT_EQ(textOf(text.get()), "caf\xC3\xA9");
    EXPECT_EQ(textOf(empty.get()), "");
    EXPECT_EQ(textOf(unwritable.get()), std::nullopt);
    EXPECT_EQ(textOf(nullptr), std::nullopt);
}

TEST(CoreFoundation, AStringIsMadeOfUtf8) {
    const int before = FakeObjects::alive();
    for (const std::string& bytes : {std::string("caf\xC3\xA9"), std::string()})
        EXPECT_EQ(textOf(stringOf(bytes).get()), bytes);
    EXPECT_FALSE(stringOf("\xff"));
    EXPECT_EQ(FakeObjects::alive(), before);
}

TEST(CoreFoundation, APathGoesThroughAUrlByteForByte) {
    for (const std::string& path :
         {std::string("/a b/\n\xff"), std::string("/"), "/" + std::string(4000, 'x')})
        EXPECT_EQ(pathOfUrl(urlOfPath(path).get()), path);
    EXPECT_EQ(pathOfUrl(urlOfPath("/" + std::string(4096, 'x')).get()), std::nullopt);
    EXPECT_EQ(pathOfUrl(nullptr), std::nullopt);
    EXPECT_FALSE(urlOfPath(""));
    EXPECT_FALSE(urlOfPath(std::string("/a\0b", 4)));
}

}  // namespace
}  // namespace quillmoor::platform::macos
