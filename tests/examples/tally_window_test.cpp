#include "examples/tallyframe/tally_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <cerrno>
#include <filesystem>
#include <memory>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::tallyframe {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::UnorderedElementsAre;

constexpr char kNotAllRead[] = "Not all saved counters could be read.";

class Tally : public ::testing::Test {
  protected:
    // Starts the application with these contents of Counters.json.
    std::unique_ptr<TallyWindow> startWith(const std::string& text) {
        folder_.writeFile("product/Counters.json", text);
        return start();
    }
    std::unique_ptr<TallyWindow> start() {
        return std::make_unique<TallyWindow>(file_, readCounters(file_, defaults_));
    }
    static std::string statusOf(const TallyWindow& window) {
        return window.findChild<QLabel*>("status")->text().toStdString();
    }
    static void press(const TallyWindow& window, const QString& sign) {
        for (auto* button : window.findChildren<QPushButton*>())
            if (button->text() == sign) return button->click();
        FAIL() << "no button";
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_ / "product"))
            names.push_back(entry.path().filename());
        return names;
    }
    std::string contents(const std::string& name) const {
        return test::readFile(folder_ / ("product/" + name));
    }
    Counters read(const std::string& text) const {
        folder_.writeFile("product/Counters.json", text);
        return readCounters(file_, defaults_).counters;
    }

    test::TempFolder folder_;
    QString file_ = QString::fromStdString(folder_ / "product/Counters.json");
    QString defaults_ = QString::fromStdString(
        folder_.writeFile("defaults", R"([{ "name": "Default", "value": 7 }])"));
};

TEST_F(Tally, BeginsWithTheDefaultsAndSavesAChange) {
    const auto window = start();
    EXPECT_EQ(statusOf(*window), "7 in all");
    press(*window, "+");
    EXPECT_EQ(statusOf(*window), "8 in all");
    EXPECT_THAT(files(), ElementsAre("Counters.json"));
    EXPECT_EQ(statusOf(*start()), "8 in all");
}

TEST_F(Tally, ADamagedFileIsReportedAndLeftUnchangedUntilAChange) {
    for (const char* text : {"", "[{ \"name\": \"Tea\", \"va", "{}", "\xff\xfe"}) {
        EXPECT_EQ(statusOf(*startWith(text)), std::string("0 in all\n") + kNotAllRead) << text;
        EXPECT_THAT(files(), ElementsAre("Counters.json"));
        EXPECT_EQ(contents("Counters.json"), text);
    }
}

TEST_F(Tally, ADamagedFileIsKeptWhenAChangeIsSaved) {
    const auto window = startWith("[{ \"name\": \"Tea\", \"va");
    press(*window, "&Add Counter");
    press(*window, "+");
    EXPECT_EQ(statusOf(*window), "1 in all\nThe damaged file is kept as “Damaged Counters.json”.");
    EXPECT_THAT(files(), UnorderedElementsAre("Counters.json", "Damaged Counters.json"));
    EXPECT_EQ(contents("Damaged Counters.json"), "[{ \"name\": \"Tea\", \"va");
    EXPECT_EQ(statusOf(*start()), "1 in all");
}

TEST_F(Tally, ADamagedFileReplacesNoOther) {
    folder_.writeFile("product/Damaged Counters.json", "older");
    const auto window = startWith("newer");
    press(*window, "&Add Counter");
    EXPECT_THAT(statusOf(*window), EndsWith("“Damaged Counters 2.json”."));
    EXPECT_EQ(contents("Damaged Counters.json"), "older");
    EXPECT_EQ(contents("Damaged Counters 2.json"), "newer");
}

TEST_F(Tally, ADamagedFileThatCannotBeMovedIsNotReplaced) {
    const auto window = startWith("damaged");
    platform::posix::SystemCalls failing = platform::posix::systemCalls();
    failing.renameNoReplace = [](int, const char*, int, const char*) {
        errno = EACCES;
        return -1;
    };
    const auto* const before = platform::posix::exchangeSystemCalls(&failing);
    press(*window, "&Add Counter");
    platform::posix::exchangeSystemCalls(before);
    EXPECT_EQ(statusOf(*window), "The counters could not be saved.");
    EXPECT_THAT(files(), ElementsAre("Counters.json"));
    EXPECT_EQ(contents("Counters.json"), "damaged");
    // The next change tries again.
    press(*window, "+");
    EXPECT_EQ(contents("Damaged Counters.json"), "damaged");
    EXPECT_EQ(statusOf(*start()), "1 in all");
}

TEST_F(Tally, AnUnsavedChangeReportsWhereTheDamagedFileIsAfterwards) {
    const auto window = startWith("damaged");
    // A file for its folder: nothing can be moved or saved, not even by root.
    std::filesystem::rename(folder_ / "product", folder_ / "moved");
    folder_.writeFile("product");
    press(*window, "&Add Counter");
    EXPECT_EQ(statusOf(*window), "The counters could not be saved.");
    std::filesystem::remove(folder_ / "product");
    std::filesystem::rename(folder_ / "moved", folder_ / "product");
    press(*window, "+");
    EXPECT_THAT(statusOf(*window), EndsWith("“Damaged Counters.json”."));
    EXPECT_EQ(contents("Damaged Counters.json"), "damaged");
}

TEST_F(Tally, ADamagedFileThatWasRemovedPreventsNothing) {
    const auto window = startWith("damaged");
    std::filesystem::remove(folder_ / "product/Counters.json");
    press(*window, "&Add Counter");
    press(*window, "+");
    EXPECT_THAT(files(), ElementsAre("Counters.json"));
    EXPECT_EQ(statusOf(*start()), "1 in all");
}

TEST_F(Tally, AFileThatCannotBeOpenedIsKept) {
    folder_.makeFolder("product/Counters.json/of another");
    const auto window = start();
    EXPECT_EQ(statusOf(*window), std::string("0 in all\n") + kNotAllRead);
    press(*window, "&Add Counter");
    EXPECT_TRUE(test::somethingAt(folder_ / "product/Damaged Counters.json/of another"));
    EXPECT_EQ(statusOf(*start()), "0 in all");
}

TEST_F(Tally, WhatIsNotACounterIsLeftOutAndReported) {
    for (const char* other : {"1", "{}", R"({ "name": "Tea" })", R"({ "name": 1, "value": 1 })",
                              R"({ "name": "Tea", "value": "3" })"}) {
        const auto window =
            startWith(std::string(R"([{ "name": "Cups", "value": 2 }, )") + other + "]");
        EXPECT_EQ(statusOf(*window), std::string("2 in all\n") + kNotAllRead) << other;
    }
}

TEST_F(Tally, AnEmptyListIsNotDamaged) {
    EXPECT_EQ(statusOf(*startWith("[]")), "0 in all");
}

TEST_F(Tally, CountsAreReadWithinTheirLimits) {
    const auto countOf = [this](const std::string& number) {
        const Counters counters = read(R"([{ "name": "Tea", "value": )" + number + "}]");
        return counters.size() == 1 ? counters[0].value : -1;
    };
    EXPECT_EQ(countOf("-1"), 0);
    EXPECT_EQ(countOf("2.5"), 2);
    EXPECT_EQ(countOf("999999"), 999999);
    EXPECT_EQ(countOf("1000000"), 999999);
    EXPECT_EQ(countOf("1e300"), 999999);
}

}  // namespace
}  // namespace quillmoor::tallyframe
