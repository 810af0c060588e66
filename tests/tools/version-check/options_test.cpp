#include "tools/version-check/options.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillmoor::version_check {
namespace {

using namespace std::chrono_literals;

Options parsed(const std::vector<const char*>& arguments) {
    return parseOptions(arguments);
}

std::string refusal(const std::vector<const char*>& arguments) {
    try {
        parseOptions(arguments);
    } catch (const UsageExit& usage) {
        return usage.isError() ? usage.what() : "no error";
    }
    return "accepted";
}

TEST(VersionCheckOptions, AreAbsentUnlessGiven) {
    const Options options = parsed({});
    EXPECT_EQ(options.compare, std::nullopt);
    EXPECT_EQ(options.bundle, std::nullopt);
    EXPECT_EQ(options.timeout, 600s);
    EXPECT_FALSE(options.uninstall || options.unattended || options.json || options.quiet);
}

TEST(VersionCheckOptions, AreRead) {
    const Options options = parsed({"--uninstall", "--unattended", "--timeout", "30", "--bundle",
                                    "/a b", "--compare=1.2", "--json"});
    EXPECT_TRUE(options.uninstall && options.unattended && options.json);
    EXPECT_EQ(options.timeout, 30s);
    EXPECT_EQ(options.bundle, "/a b");
    EXPECT_EQ(options.compare, "1.2");
    EXPECT_TRUE(parsed({"-q"}).quiet && parsed({"--quiet"}).quiet);
}

TEST(VersionCheckOptions, WhatDoesNotFitTogetherIsRefused) {
    EXPECT_EQ(refusal({"--unattended"}), "--unattended needs --uninstall");
    EXPECT_EQ(refusal({"--uninstall", "--timeout", "3"}), "--timeout needs --unattended");
    EXPECT_EQ(refusal({"--bundle", "x"}), "--bundle needs --uninstall");
    EXPECT_EQ(refusal({"--json", "-q"}), "--json and --quiet exclude each other");
}

TEST(VersionCheckOptions, ValuesAreChecked) {
    const std::string range = "--timeout needs a number of seconds from 1 to 2592000";
    for (const char* seconds :
         {"0", "-1", "2592001", "x", "0x10", "1.5", "99999999999999999999", "", "\x1b[2J"})
        EXPECT_EQ(refusal({"--uninstall", "--unattended", "--timeout", seconds}), range);
    EXPECT_EQ(parsed({"--uninstall", "--unattended", "--timeout", "010"}).timeout, 10s);
    EXPECT_EQ(parsed({"--uninstall", "--unattended", "--timeout", "2592000"}).timeout, 2592000s);
    EXPECT_EQ(refusal({"--uninstall", "--bundle", ""}), "--bundle needs a folder");
    EXPECT_EQ(refusal({"--uninstall=\x1b[2J"}).find('\x1b'), std::string::npos);
    EXPECT_NE(refusal({"--compare", "beta"}).find("“beta” is not a version number"),
              std::string::npos);
    EXPECT_NE(refusal({"--compare"}), "accepted");
}

TEST(VersionCheckOptions, AnUnknownOneSuggestsTheNearest) {
    EXPECT_EQ(refusal({"--uninstal"}), "unknown argument “--uninstal”; did you mean --uninstall?");
    EXPECT_EQ(refusal({"--verison"}), "unknown argument “--verison”; did you mean --version?");
    EXPECT_EQ(refusal({"surplus\n"}), "unknown argument “surplus\\x0a”");
}

TEST(VersionCheckOptions, HelpAndVersionAreNoErrors) {
    for (const char* word : {"-h", "--help", "--version"}) EXPECT_EQ(refusal({word}), "no error");
    try {
        parseOptions(std::vector<const char*>{"--help"});
    } catch (const UsageExit& usage) {
        for (const char* part : {"--compare VERSION", "--timeout SECONDS", "8  the uninstaller"})
            EXPECT_NE(std::string(usage.what()).find(part), std::string::npos) << part;
    }
}

}  // namespace
}  // namespace quillmoor::version_check
