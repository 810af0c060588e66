#include "tools/ditto/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillmoor::ditto {
namespace {

using Arguments = std::vector<const char*>;

std::string errorOf(const Arguments& arguments) {
    try {
        parseOptions(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return {};
}

TEST(DittoOptions, JoinedOptionsUnpack) {
    const Options options = parseOptions(Arguments{"-xk", "a.zip", "out"});
    EXPECT_EQ(options.action, Action::Unpack);
    EXPECT_EQ(options.sources, std::vector<std::string>{"a.zip"});
    EXPECT_EQ(options.destination, "out");
    EXPECT_EQ(options.maxSize, kDefaultMaxSize);
    EXPECT_FALSE(options.verbose);
}

TEST(DittoOptions, OptionsStandInAnyOrder) {
    for (const Arguments& arguments :
         {Arguments{"-ck", "--keepParent", "dir", "a.zip"},
          Arguments{"-c", "-k", "--keepParent", "--sequesterRsrc", "--rsrc", "dir", "a.zip"},
          Arguments{"--keepParent", "-kc", "dir", "a.zip"},
          Arguments{"dir", "-c", "a.zip", "--keepParent", "-k"}}) {
        const Options options = parseOptions(arguments);
        EXPECT_EQ(options.action, Action::Pack);
        EXPECT_TRUE(options.keepParent);
        EXPECT_EQ(options.sources, std::vector<std::string>{"dir"});
        EXPECT_EQ(options.destination, "a.zip");
    }
}

TEST(DittoOptions, SeveralArchivesUnpackIntoTheLastPath) {
    const Options options = parseOptions(Arguments{"-xk", "a.zip", "b.zip", "out"});
    EXPECT_EQ(options.sources, (std::vector<std::string>{"a.zip", "b.zip"}));
    EXPECT_EQ(options.destination, "out");
}

TEST(DittoOptions, WhatFollowsTwoDashesIsAPath) {
    const Options options = parseOptions(Arguments{"-xk", "--", "-a.zip", "--help"});
    EXPECT_EQ(options.sources, std::vector<std::string>{"-a.zip"});
    EXPECT_EQ(options.destination, "--help");
}

TEST(DittoOptions, PathsAreTakenByteForByte) {
    const Options options = parseOptions(Arguments{"-xk", "[a,b]\n\xff", "%%"});
    EXPECT_EQ(options.sources, std::vector<std::string>{"[a,b]\n\xff"});
    EXPECT_EQ(options.destination, "%%");
}

TEST(DittoOptions, TheSizeLimitIsANumberOfBytes) {
    EXPECT_EQ(parseOptions(Arguments{"-xk", "--max-size", "123", "a", "b"}).maxSize, 123U);
    EXPECT_EQ(parseOptions(Arguments{"-xk", "--max-size=99999999999", "a", "b"}).maxSize,
              99999999999U);
    for (const char* wrong : {"", "-1", "1k", "18446744073709551616"})
        EXPECT_NE(errorOf({"-xk", "--max-size", wrong, "a", "b"}), "") << wrong;
    EXPECT_NE(errorOf({"-xk", "a", "b", "--max-size"}), "");
}

TEST(DittoOptions, HelpAndVersionNeedNothingElse) {
    EXPECT_EQ(parseOptions(Arguments{"-h"}).action, Action::ShowHelp);
    EXPECT_EQ(parseOptions(Arguments{"--help"}).action, Action::ShowHelp);
    EXPECT_EQ(parseOptions(Arguments{"--version"}).action, Action::ShowVersion);
    EXPECT_TRUE(parseOptions(Arguments{"-V", "-xk", "a", "b"}).verbose);
}

TEST(DittoOptions, WhatCannotBeDoneIsAnError) {
    EXPECT_NE(errorOf({}), "");
    EXPECT_NE(errorOf({"-xk"}), "");
    EXPECT_NE(errorOf({"-xk", "a.zip"}), "");
    EXPECT_NE(errorOf({"-ck"}), "");
    EXPECT_NE(errorOf({"-ck", "--keepParent"}), "");
    EXPECT_NE(errorOf({"-ck", "dir"}), "");
    EXPECT_NE(errorOf({"-ck", "dir", "dir2", "a.zip"}), "");
    EXPECT_NE(errorOf({"-xk", "", "out"}), "");
    EXPECT_NE(errorOf({"-xk", "-", "out"}), "");
    EXPECT_NE(errorOf({"-xk", "--keepParent", "a.zip", "out"}), "");
    EXPECT_NE(errorOf({"-xck", "a", "b"}), "");
    EXPECT_NE(errorOf({"-x", "a.cpio", "out"}), "");
    EXPECT_NE(errorOf({"a", "b"}).find("plain copies"), std::string::npos);
    EXPECT_NE(errorOf({"-xkq", "a", "b"}).find("-q"), std::string::npos);
    EXPECT_NE(errorOf({"-xk", "--frob", "a", "b"}).find("--frob"), std::string::npos);
}

}  // namespace
}  // namespace quillmoor::ditto
