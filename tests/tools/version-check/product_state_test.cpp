#include "tools/version-check/product_state.h"

#include <gtest/gtest.h>

#include <array>
#include <iterator>

#include "quillmoor/pane/RK_MessageViewPane.h"
#include "tests/pane/support/pane_fakes.h"

namespace quillmoor::version_check {
namespace {

class ProductState : public ::testing::Test {
  protected:
    ProductState() { platform_->applications = &applications_; }

    // Installs the product with these keys in its information dictionary.
    void install(const std::string& keys) {
        folder_.writeFile(
            "Tallyframe.app/Contents/Info.plist",
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + keys + "</dict></plist>");
        applications_.product = folder_ / "Tallyframe.app";
    }
    void installVersion(const std::string& version) {
        install("<key>CFBundleShortVersionString</key><string>" + version + "</string>");
    }

    test::FakeApplications applications_;
    test::TempFolder folder_;
    test::ScopedPlatform platform_;
};

TEST_F(ProductState, WithoutTheProductIsAbsent) {
    const Product product = findProduct("1.0");
    EXPECT_EQ(product.state, State::Absent);
    EXPECT_EQ(product.path, std::nullopt);
    EXPECT_EQ(product.version, std::nullopt);
}

TEST_F(ProductState, TellsWhichVersionIsWhere) {
    installVersion("1.5");
    const Product product = findProduct(std::nullopt);
    EXPECT_EQ(product.state, State::Installed);
    EXPECT_EQ(product.path, folder_ / "Tallyframe.app");
    EXPECT_EQ(product.version, "1.5");
}

TEST_F(ProductState, IsComparedWithAVersion) {
    installVersion("1.5");
    EXPECT_EQ(findProduct("2").state, State::Older);
    EXPECT_EQ(findProduct("1.5.0").state, State::Same);
    EXPECT_EQ(findProduct("1.4").state, State::Newer);
}

TEST_F(ProductState, WithoutAShortVersionTheBuildsCounts) {
    install("<key>CFBundleVersion</key><string>7</string>");
    EXPECT_EQ(findProduct(std::nullopt).version, "7");
    install(
        "<key>CFBundleShortVersionString</key><string></string>"
        "<key>CFBundleVersion</key><integer>8</integer>");
    EXPECT_EQ(findProduct(std::nullopt).version, "8");
}

TEST_F(ProductState, WhiteSpaceAroundAVersionDoesNotCount) {
    installVersion("\n\t1.5\n");
    EXPECT_EQ(findProduct("1.5").state, State::Same);
    EXPECT_EQ(findProduct("1.5").version, "1.5");
    installVersion(" \n");
    EXPECT_EQ(findProduct("1.5").version, std::nullopt);
}

TEST_F(ProductState, AnUnknownVersionIsNotCompared) {
    install("");
    EXPECT_EQ(findProduct("1").state, State::Installed);
    EXPECT_EQ(findProduct("1").version, std::nullopt);
    installVersion("beta");
    EXPECT_EQ(findProduct("1").state, State::Installed);
    EXPECT_EQ(findProduct("1").version, "beta");
    applications_.product = folder_.writeFile("tallyframe");  // a program without a bundle
    EXPECT_EQ(findProduct("1").state, State::Installed);
    EXPECT_EQ(findProduct("1").version, std::nullopt);
}

class Shown : public Control {
  public:
    bool isShown = false;
    void setHidden(bool hidden) override { isShown = !hidden; }
};

class Travels : public PaneNavigation {
  public:
    std::string moves;
    void gotoNextPane() override { moves += "next"; }
    void gotoPreviousPane() override { moves += "previous"; }
};

// What the pane does when it is entered: where it goes, or "shown".
std::string paneEntered(InstallerDirection direction) {
    Travels travels;
    Shown button;
    RK_MessageViewPane pane(travels);
    pane.uninstallBtn = &button;
    pane.didEnterPane(direction);
    return travels.moves + (button.isShown ? "shown" : "");
}

// One table of states for the pane and for the command: what is found, and its state compared with
// nothing, 1.0, 1.5 and 2.0.
TEST_F(ProductState, IsAbsentExactlyWhereThePanePassesItselfOver) {
    struct Row {
        OptionalPath found;
        std::array<State, 4> states;
    };
    std::array<State, 4> unknown{};
    unknown.fill(State::Installed);
    installVersion("1.5");
    const OptionalPath bundle = applications_.product;
    folder_.writeFile("Unknown.app/Contents/Info.plist", "<plist><dict/></plist>");
    const Row rows[] = {
        {std::nullopt, {State::Absent, State::Absent, State::Absent, State::Absent}},
        {bundle, {State::Installed, State::Newer, State::Same, State::Older}},
        {folder_ / "Unknown.app", unknown},
        {folder_.writeFile("tallyframe"), unknown},
        {folder_ / "gone.app", unknown},
        {"", unknown},
    };
    const OptionalString compared[] = {std::nullopt, "1.0", "1.5", "2.0"};
    for (const Row& row : rows) {
        applications_.product = row.found;
        const bool isAbsent = !row.found;
        EXPECT_EQ(paneEntered(InstallerDirection::Forward), isAbsent ? "next" : "shown");
        EXPECT_EQ(paneEntered(InstallerDirection::Undefined), isAbsent ? "next" : "shown");
        EXPECT_EQ(paneEntered(InstallerDirection::Backward), isAbsent ? "previous" : "shown");
        for (std::size_t i = 0; i < std::size(compared); ++i)
            EXPECT_EQ(findProduct(compared[i]).state, row.states[i])
                << row.found.value_or("nil") << " " << compared[i].value_or("nil");
    }
}

}  // namespace
}  // namespace quillmoor::version_check
