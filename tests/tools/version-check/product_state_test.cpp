#include "tools/version-check/product_state.h"

#include <gtest/gtest.h>

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
    bool hasLeft = false;
    void gotoNextPane() override { hasLeft = true; }
    void gotoPreviousPane() override { hasLeft = true; }
};

// The pane and the command decide by the same question.
TEST_F(ProductState, IsAbsentWhereverThePanePassesItselfOver) {
    installVersion("1.5");
    const OptionalPath bundle = applications_.product;
    const OptionalPath program = folder_.writeFile("tallyframe");
    const std::vector<OptionalPath> states{std::nullopt, "", folder_ / "gone.app", bundle, program};
    for (const OptionalPath& found : states) {
        applications_.product = found;
        Travels travels;
        Shown button;
        RK_MessageViewPane pane(travels);
        pane.uninstallBtn = &button;
        pane.didEnterPane(InstallerDirection::Forward);
        const bool isAbsent = findProduct(std::nullopt).state == State::Absent;
        EXPECT_EQ(isAbsent, travels.hasLeft) << found.value_or("nil");
        EXPECT_EQ(isAbsent, !button.isShown) << found.value_or("nil");
        EXPECT_EQ(isAbsent, !found.has_value());
    }
}

}  // namespace
}  // namespace quillmoor::version_check
