#include "tools/version-check/report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace quillmoor::version_check {
namespace {

Product installed(State state, const OptionalString& version = "1.5") {
    return {state, "/Applications/Tally\nframe.app", version};
}

TEST(Report, SaysWhetherTheProductIsInstalledAndWhere) {
    const std::string where = ": /Applications/Tally\\x0aframe.app\n";
    EXPECT_EQ(sentence(Product{}, std::nullopt), "Tallyframe is not installed.\n");
    EXPECT_EQ(sentence(installed(State::Installed), std::nullopt),
              "Tallyframe is installed, version 1.5" + where);
    EXPECT_EQ(sentence(installed(State::Older), "2"),
              "Tallyframe is installed, version 1.5, older than 2" + where);
    EXPECT_EQ(sentence(installed(State::Same), "1.5"),
              "Tallyframe is installed, version 1.5, the same as 1.5" + where);
    EXPECT_EQ(sentence(installed(State::Newer), "1"),
              "Tallyframe is installed, version 1.5, newer than 1" + where);
    EXPECT_EQ(
        sentence(installed(State::Installed, std::nullopt), "1"),
        "Tallyframe is installed, of an unknown version, which cannot be compared with 1" + where);
    EXPECT_EQ(sentence(installed(State::Installed, "b\x1b[2J"), std::nullopt),
              "Tallyframe is installed, version b\\x1b[2J" + where);
}

TEST(Report, SaysHowTheRemovalEnded) {
    EXPECT_EQ(sentence(Removal{RemovalOutcome::Opened, "/tmp/U.app"}),
              "The uninstaller was opened: /tmp/U.app\n");
    EXPECT_EQ(sentence(Removal{RemovalOutcome::Removed, {}}), "Tallyframe was removed.\n");
    EXPECT_EQ(sentence(Removal{RemovalOutcome::Left, {}}),
              "The uninstaller has ended, and something of Tallyframe is left.\n");
    for (const auto outcome : {RemovalOutcome::TimedOut, RemovalOutcome::Interrupted}) {
        EXPECT_EQ(sentence(Removal{outcome, {}}),
                  "The uninstaller was ended before it was done.\n");
        EXPECT_EQ(sentence(Removal{outcome, "/tmp/U.app"}),
                  "The uninstaller was ended before it was done, and still runs: "
                  "/tmp/U.app\n");
    }
    EXPECT_EQ(sentence(Removal{RemovalOutcome::NotUnpacked, {}}),
              "The uninstaller could not be unpacked.\n");
    EXPECT_EQ(sentence(Removal{RemovalOutcome::NotUnpacked, {}, "“a\n” is not executable"}),
              "The uninstaller could not be unpacked: “a\\x0a” is not executable.\n");
    EXPECT_EQ(sentence(Removal{RemovalOutcome::NotStarted, {}}),
              "The uninstaller could not be started from the temporary folder. Where that forbids "
              "programs, TMPDIR can name another.\n");
}

TEST(Report, IsOneJsonObjectOnRequest) {
    using Json = nlohmann::json;
    EXPECT_EQ(Json::parse(json(Product{}, std::nullopt)),
              Json::parse(R"({"product": "com.quillmoor.tallyframe", "state": "absent",
                              "path": null, "version": null, "comparedWith": null})"));
    const Json removed = Json::parse(
        json(installed(State::Older), "2", {RemovalOutcome::TimedOut, "/tmp/U.app"}, {"a", "b"}));
    EXPECT_EQ(removed, Json::parse(R"({"product": "com.quillmoor.tallyframe", "state": "older",
                              "path": "/Applications/Tally\nframe.app", "version": "1.5",
                              "comparedWith": "2", "removal": {"outcome": "timed out",
                              "uninstaller": "/tmp/U.app", "reason": null, "output": ["a", "b"]}})"));
    const Removal refused{RemovalOutcome::NotStarted, {}, "why"};
    EXPECT_EQ(Json::parse(json(Product{}, {}, refused, {}))["removal"]["reason"], "why");
}

TEST(Report, NamesEachStateAndOutcomeInJson) {
    using Json = nlohmann::json;
    const std::vector<std::pair<State, std::string>> states{{State::Absent, "absent"},
                                                            {State::Older, "older"},
                                                            {State::Same, "same"},
                                                            {State::Newer, "newer"},
                                                            {State::Installed, "installed"}};
    for (const auto& [state, name] : states)
        EXPECT_EQ(Json::parse(json(installed(state), "1"))["state"], name);
    const std::vector<std::pair<RemovalOutcome, std::string>> outcomes{
        {RemovalOutcome::Opened, "opened"},
        {RemovalOutcome::Removed, "removed"},
        {RemovalOutcome::Left, "left"},
        {RemovalOutcome::TimedOut, "timed out"},
        {RemovalOutcome::Interrupted, "interrupted"},
        {RemovalOutcome::NotUnpacked, "not unpacked"},
        {RemovalOutcome::NotStarted, "not started"}};
    for (const auto& [outcome, name] : outcomes)
        EXPECT_EQ(Json::parse(json(Product{}, {}, {outcome, {}}, {}))["removal"]["outcome"], name);
}

TEST(Report, BytesThatAreNotUtf8AreReplacedInJson) {
    EXPECT_EQ(nlohmann::json::parse(json({State::Installed, "/a\xff", {}}, {}))["path"],
              "/a\xef\xbf\xbd");
}

}  // namespace
}  // namespace quillmoor::version_check
