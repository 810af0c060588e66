#include "host/window/built_in_sections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLabel>

#include "host/ground/display_text.h"
#include "host/window/artwork.h"

namespace quillmoor::host {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

std::vector<std::string> textsOf(const QWidget& page) {
    std::vector<std::string> texts;
    for (const QLabel* label : page.findChildren<QLabel*>())
        texts.push_back(bytesOf(withoutBreaks(label->text())));
    return texts;
}

std::string textOf(const QWidget& page, const char* name) {
    return bytesOf(withoutBreaks(page.findChild<QLabel*>(name)->text()));
}

TEST(BuiltInSections, AProductWithoutANameIsDescribed) {
    EXPECT_EQ(ProductName::of("Tape").inSentence, "Tape");
    EXPECT_EQ(ProductName::of("Tape").atStart, "Tape");
    EXPECT_EQ(ProductName::of("").inSentence, "the product");
    EXPECT_EQ(ProductName::of("").atStart, "The product");
}

TEST(BuiltInSections, TheIntroductionNamesTheProduct) {
    const auto section = makeIntroduction(ProductName::of("Tape"));
    EXPECT_EQ(section->title(), "Introduction");
    EXPECT_EQ(textOf(*section->takeWidget(), "paneHeading"), "Install Tape");
}

TEST(BuiltInSections, TheSummarySaysThatNothingHasBeenInstalled) {
    const auto section = makeSummary(ProductName::of(""));
    EXPECT_EQ(section->title(), "Summary");
    const auto page = section->takeWidget();
    EXPECT_EQ(textOf(*page, "paneHeading"), "The product is ready to be installed");
    EXPECT_THAT(textsOf(*page), Contains(HasSubstr("nothing has been installed")));
}

TEST(BuiltInSections, TheyMayBeLeftInBothDirections) {
    for (const auto& section : {makeIntroduction({}), makeSummary({}), makeProblemSection("", "")})
        for (const Direction direction : {Direction::Forward, Direction::Backward})
            EXPECT_TRUE(section->shouldExit(direction));
}

TEST(BuiltInSections, OnlyAProblemIsReportedAsOneAndNoneAsAPlugIn) {
    EXPECT_FALSE(makeIntroduction({})->isProblem());
    EXPECT_FALSE(makeSummary({})->isProblem());
    const auto problem = makeProblemSection("/a/Odd.bundle", "no reason");
    EXPECT_TRUE(problem->isProblem());
    EXPECT_FALSE(problem->isPlugin());
}

TEST(BuiltInSections, AProblemNamesItsSubjectAndReason) {
    const auto problem = makeProblemSection("/a/Odd.bundle", "it is not a folder");
    EXPECT_EQ(problem->title(), "Odd");
    const auto page = problem->takeWidget();
    EXPECT_EQ(textOf(*page, "problemText"), "“Odd.bundle” cannot be loaded: it is not a folder.");
    EXPECT_EQ(textOf(*page, "problemSubject"), "/a/Odd.bundle");
}

TEST(BuiltInSections, AProblemsTextsAreShownAsTheyAre) {
    const auto page = makeProblemSection("/a/<b>\n.bundle", "<i>why</i>")->takeWidget();
    EXPECT_EQ(textOf(*page, "problemText"), "“<b>\\x0a.bundle” cannot be loaded: <i>why</i>.");
    for (const QLabel* label : page->findChildren<QLabel*>())
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
}

TEST(BuiltInSections, ALongPathMayBeBrokenAfterEachSlash) {
    const auto page = makeProblemSection("/a/b.bundle", "")->takeWidget();
    EXPECT_EQ(page->findChild<QLabel*>("problemSubject")->text(),
              QString::fromUtf8("/\u200ba/\u200bb.bundle"));
}

}  // namespace
}  // namespace quillmoor::host
