#include "host/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillmoor::host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct ParseResult {
    ParsedOptions parsed;
    std::string output;
    std::string error;
};

ParseResult parse(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "installer-host");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    ParseResult result{parseOptions(static_cast<int>(arguments.size()), argv.data()), "", ""};
    result.output = ::testing::internal::GetCapturedStdout();
    result.error = ::testing::internal::GetCapturedStderr();
    return result;
}

TEST(Options, AreRead) {
    const auto result =
        parse({"A.bundle", "B \xff.bundle", "--product", "Tape", "--appearance", "dark", "--script",
               "s", "--pictures", "p", "--transcript", "-", "--language", "de", "--strict"});
    ASSERT_TRUE(result.parsed.options);
    const Options& options = *result.parsed.options;
    EXPECT_THAT(options.bundles, ElementsAre("A.bundle", "B \xff.bundle"));
    EXPECT_EQ(options.product, "Tape");
    EXPECT_EQ(options.appearance, AppearanceMode::Dark);
    EXPECT_EQ(options.script, "s");
    EXPECT_EQ(options.pictures, "p");
    EXPECT_EQ(options.transcript, "-");
    EXPECT_EQ(options.language, "de");
    EXPECT_TRUE(options.strict);
    EXPECT_FALSE(options.quitAfterEnter);
}

TEST(Options, TheAppearanceIsTheSystemsByDefault) {
    EXPECT_EQ(parse({"A.bundle"}).parsed.options->appearance, AppearanceMode::System);
    EXPECT_EQ(parse({"A.bundle", "--appearance", "pink"}).parsed.exitStatus, 2);
}

TEST(Options, EitherBundlesOrAFolderIsNeeded) {
    EXPECT_THAT(parse({}).error, HasSubstr("a bundle or --plugins FOLDER is needed"));
    EXPECT_EQ(parse({}).parsed.exitStatus, 2);
    EXPECT_EQ(parse({"A.bundle", "--plugins", "f"}).parsed.exitStatus, 2);
    EXPECT_EQ(parse({"--plugins", "f"}).parsed.options->plugins, "f");
}

TEST(Options, HelpDescribesScriptsAndStatuses) {
    const auto result = parse({"--help"});
    EXPECT_EQ(result.parsed.exitStatus, 0);
    EXPECT_FALSE(result.parsed.options);
    for (const char* text : {"BUNDLE", "--script", "light|dark|system", "expect visible",
                             "Exit status", "--transcript"})
        EXPECT_THAT(result.output, HasSubstr(text));
}

TEST(Options, TheVersionIsPrinted) {
    EXPECT_THAT(parse({"--version"}).output, ::testing::StartsWith("installer-host "));
}

TEST(Options, AnUnknownOptionIsAnError) {
    const auto result = parse({"A.bundle", "--colour"});
    EXPECT_EQ(result.parsed.exitStatus, 2);
    EXPECT_THAT(result.error, HasSubstr("--colour"));
}

}  // namespace
}  // namespace quillmoor::host
