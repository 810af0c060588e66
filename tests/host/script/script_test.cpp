#include "host/script/script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "host/ground/host_error.h"

namespace quillmoor::host {
namespace {

using Kind = ScriptStep::Kind;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

ScriptStep only(std::string_view script) {
    const auto steps = parseScript(script);
    if (steps.size() != 1) throw HostError("not one step");
    return steps.front();
}

std::string errorOf(std::string_view script) {
    try {
        parseScript(script);
    } catch (const HostError& error) {
        return error.what();
    }
    return "";
}

TEST(Script, EmptyLinesAndCommentsAreIgnored) {
    EXPECT_THAT(parseScript("\n  \n# continue\n   # back\n"), IsEmpty());
}

TEST(Script, StepsKeepTheirOrderAndTheirLines) {
    const auto steps = parseScript("continue\n\n# a comment\n  back  \nquit");
    ASSERT_EQ(steps.size(), 3U);
    EXPECT_EQ(steps[0].kind, Kind::Continue);
    EXPECT_EQ(steps[1].kind, Kind::Back);
    EXPECT_EQ(steps[1].line, 4);
    EXPECT_EQ(steps[2].kind, Kind::Quit);
    EXPECT_EQ(steps[2].line, 5);
}

TEST(Script, LinesMayEndAsOnOtherSystems) {
    EXPECT_EQ(parseScript("continue\r\nback\r\n").size(), 2U);
}

TEST(Script, AButtonIsPressedByItsName) {
    const auto step = only("press uninstallBtn");
    EXPECT_EQ(step.kind, Kind::Press);
    EXPECT_EQ(step.object, "uninstallBtn");
}

TEST(Script, ATitleIsTheRestOfTheLine) {
    const auto step = only("expect pane Version Check");
    EXPECT_EQ(step.kind, Kind::ExpectPane);
    EXPECT_EQ(step.text, "Version Check");
}

TEST(Script, AnElementsTextIsTheRestOfTheLine) {
    const auto step = only("expect text titleText It is “there”");
    EXPECT_EQ(step.kind, Kind::ExpectText);
    EXPECT_EQ(step.object, "titleText");
    EXPECT_EQ(step.text, "It is “there”");
}

TEST(Script, AnExpectedTextMayBeEmpty) {
    EXPECT_EQ(only("expect text titleText").text, "");
}

TEST(Script, VisibleAndHiddenAreExpectedByName) {
    EXPECT_EQ(only("expect visible a").kind, Kind::ExpectVisible);
    EXPECT_EQ(only("expect hidden a").kind, Kind::ExpectHidden);
}

TEST(Script, WaitsAreInMilliseconds) {
    EXPECT_EQ(only("wait 250").time, milliseconds(250));
    EXPECT_EQ(only("wait file /tmp/x 40").time, milliseconds(40));
    EXPECT_EQ(only("wait gone /tmp/x").time, milliseconds(10'000));
}

TEST(Script, APathWithSpacesIsQuoted) {
    EXPECT_THAT(only("wait file \"/tmp/a b\" 40").words[0], "/tmp/a b");
    EXPECT_THAT(errorOf("wait file /tmp/a b c"), ::testing::HasSubstr("double quotes"));
}

TEST(Script, ACommandIsSplitIntoWords) {
    EXPECT_THAT(only("run cp -R \"a b\" c").words, ElementsAre("cp", "-R", "a b", "c"));
}

TEST(Script, VariablesAreReplacedAfterSplitting) {
    ::setenv("SCRIPT_TEST", "two words", 1);
    EXPECT_THAT(only("run touch ${SCRIPT_TEST}/x").words, ElementsAre("touch", "two words/x"));
    EXPECT_EQ(only("note in ${SCRIPT_TEST}, ${SCRIPT_TEST}").text, "in two words, two words");
}

TEST(Script, AVariableThatIsNotSetIsAnError) {
    ::unsetenv("SCRIPT_TEST");
    EXPECT_EQ(errorOf("continue\nnote ${SCRIPT_TEST}"),
              "2: the environment has no variable “SCRIPT_TEST”");
    EXPECT_EQ(errorOf("note ${HOME"), "1: “${” without “}”");
}

TEST(Script, MistakesNameTheLine) {
    EXPECT_EQ(errorOf("continue\nleap"), "2: there is no step “leap”");
    EXPECT_EQ(errorOf("expect"), "1: there is no step “expect”");
    EXPECT_EQ(errorOf("continue now"), "1: nothing may follow, but “now” does");
    EXPECT_EQ(errorOf("press"), "1: the name of an interface element is missing");
    EXPECT_EQ(errorOf("press a b"), "1: nothing may follow, but “b” does");
    EXPECT_EQ(errorOf("note"), "1: a text is missing");
    EXPECT_EQ(errorOf("run"), "1: a command is missing");
    EXPECT_EQ(errorOf("wait soon"), "1: “soon” is not a number of milliseconds");
    EXPECT_EQ(errorOf("wait -1"), "1: “-1” is not a number of milliseconds");
    EXPECT_EQ(errorOf("snapshot ../x"), "1: “../x” is not a plain name for a picture");
}

}  // namespace
}  // namespace quillmoor::host
