#include "tools/ditto/options.h"

#include <gtest/gtest.h>

#include <cstdlib>
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

TEST(DittoOptions, OptionsMayBeInAnyOrder) {
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

TEST(DittoOptions, EverythingAfterTwoDashesIsAPath) {
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

TEST(DittoOptions, TheEnvironmentDoesNotChangeTheOrder) {
    ASSERT_EQ(::setenv("POSIXLY_CORRECT", "1", 1), 0);
    const Options options = parseOptions(Arguments{"a.zip", "-xk", "out", "-V"});
    ::unsetenv("POSIXLY_CORRECT");
    EXPECT_EQ(options.sources, std::vector<std::string>{"a.zip"});
    EXPECT_EQ(options.destination, "out");
    EXPECT_TRUE(options.verbose);
}

TEST(DittoOptions, AnEarlierCallLeavesNothing) {
    EXPECT_NE(errorOf({"-qxk", "a", "b"}), "");
    EXPECT_FALSE(parseOptions(Arguments{"-xk", "a", "b"}).verbose);
    EXPECT_EQ(parseOptions(Arguments{"-ck", "a", "b"}).action, Action::Pack);
}

TEST(DittoOptions, ErrorsNameTheOptionAsItWasGiven) {
    EXPECT_EQ(errorOf({"-xkq", "a", "b"}), "unknown option -q");
    EXPECT_EQ(errorOf({"-qxk", "a", "b"}), "unknown option -q");
    EXPECT_EQ(errorOf({"-x:k", "a", "b"}), "unknown option -:");
    EXPECT_EQ(errorOf({"a", "b", "-xk\n"}), "unknown option -\\x0a");
    EXPECT_EQ(errorOf({"-xk\xff", "a", "b"}), "unknown option -\\xff");
    EXPECT_EQ(errorOf({"-xk", "--frob", "a", "b"}), "unknown option --frob");
    EXPECT_EQ(errorOf({"--frob=1", "-xk", "a", "b"}), "unknown option --frob=1");
    EXPECT_EQ(errorOf({"-xk", "--help=1", "a", "b"}), "unknown option --help=1");
    EXPECT_EQ(errorOf({"-xk", "--rsrc=1", "a", "b"}), "unknown option --rsrc=1");
    EXPECT_EQ(errorOf({"-xk", "a", "b", "--max-size"}), "--max-size needs a number of bytes");
    EXPECT_EQ(errorOf({"-xk", "--max-size=", "a", "b"}),
              "--max-size needs a number of bytes, not “”");
}

TEST(DittoOptions, HelpAndVersionNeedNothingElse) {
    EXPECT_EQ(parseOptions(Arguments{"-h"}).action, Action::ShowHelp);
    EXPECT_EQ(parseOptions(Arguments{"--help"}).action, Action::ShowHelp);
    EXPECT_EQ(parseOptions(Arguments{"--version"}).action, Action::ShowVersion);
    EXPECT_TRUE(parseOptions(Arguments{"-V", "-xk", "a", "b"}).verbose);
}

TEST(DittoOptions, ImpossibleRequestsAreErrors) {
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
