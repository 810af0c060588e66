#include "host/sections/section_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

using ::testing::ElementsAre;
using Kind = PlannedSection::Kind;

const PlannedSection kIntroduction{Kind::Introduction, "", ""};
const PlannedSection kSummary{Kind::Summary, "", ""};

std::vector<PlannedSection> planFor(const std::string& order, const test::TempFolder& folder) {
    folder.writeFile(
        "InstallerSections.plist",
        "<plist version=\"1.0\"><dict><key>SectionOrder</key>" + order + "</dict></plist>");
    return planForFolder(folder.path());
}

std::string array(const std::string& names) {
    return "<array>" + names + "</array>";
}
std::string named(const std::string& name) {
    return "<string>" + name + "</string>";
}

TEST(SectionPlan, BundlesAreBetweenIntroductionAndSummary) {
    EXPECT_THAT(planForBundles({"a", "b"}),
                ElementsAre(kIntroduction, PlannedSection{Kind::Bundle, "a", ""},
                            PlannedSection{Kind::Bundle, "b", ""}, kSummary));
}

TEST(SectionPlan, AFolderGivesTheOrder) {
    const test::TempFolder folder;
    const auto plan =
        planFor(array(named("B.bundle") + named("Introduction") + named("A.bundle")), folder);
    EXPECT_THAT(plan,
                ElementsAre(PlannedSection{Kind::Bundle, folder / "B.bundle", ""}, kIntroduction,
                            PlannedSection{Kind::Bundle, folder / "A.bundle", ""}, kSummary));
}

TEST(SectionPlan, SummaryIsWhereTheOrderPlacesIt) {
    const test::TempFolder folder;
    EXPECT_THAT(planFor(array(named("Summary") + named("A.bundle")), folder),
                ElementsAre(kSummary, PlannedSection{Kind::Bundle, folder / "A.bundle", ""}));
}

TEST(SectionPlan, SectionsThatOnlyAnInstallerHasAreLeftOut) {
    const test::TempFolder folder;
    const auto plan = planFor(array(named("Introduction") + named("ReadMe") + named("License") +
                                    named("Target") + named("PackageSelection") + named("Install")),
                              folder);
    EXPECT_THAT(plan, ElementsAre(kIntroduction, kSummary));
}

TEST(SectionPlan, AnInvalidSectionIsReplacedByTheReason) {
    const test::TempFolder folder;
    const auto plan = planFor(array(named("Lunch") + "<integer>3</integer>" +
                                    named("../Elsewhere.bundle") + named("Summary")),
                              folder);
    EXPECT_THAT(
        plan, ElementsAre(
                  PlannedSection{Kind::Problem, "Lunch",
                                 "it is neither a bundle nor one of the installer’s own sections"},
                  PlannedSection{Kind::Problem, "InstallerSections.plist",
                                 "an entry of “SectionOrder” is not a text"},
                  PlannedSection{Kind::Problem, "../Elsewhere.bundle",
                                 "a section must be a bundle inside the plug-ins’ folder"},
                  kSummary));
}

std::vector<PlannedSection> problem(const test::TempFolder& folder, const std::string& reason) {
    return {kIntroduction, {Kind::Problem, folder.path(), reason}, kSummary};
}

TEST(SectionPlan, AFolderWithoutAnOrderIsReported) {
    const test::TempFolder folder;
    EXPECT_EQ(planForFolder(folder.path()), problem(folder, "it has no InstallerSections.plist"));
}

TEST(SectionPlan, AnOrderThatIsNotAPropertyListIsReported) {
    const test::TempFolder folder;
    folder.writeFile("InstallerSections.plist", "Introduction\nSummary\n");
    EXPECT_EQ(
        planForFolder(folder.path()),
        problem(folder, "InstallerSections.plist is not a property list that holds a dictionary"));
}

TEST(SectionPlan, AnOrderThatIsNotAnArrayIsReported) {
    const test::TempFolder folder;
    EXPECT_EQ(planFor(named("Introduction"), folder),
              problem(folder, "InstallerSections.plist has no array for the key “SectionOrder”"));
}

}  // namespace
}  // namespace quillmoor::host
