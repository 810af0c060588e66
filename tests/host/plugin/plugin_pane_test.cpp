#include "host/plugin/plugin_pane.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QPushButton>
#include <new>

#include "host/plugin/host_services.h"
#include "tests/host/support/bundle_fixture.h"

namespace quillmoor::host {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class PluginPanes : public BundleFixture {};

// An element without memory for it, once it has been examined so many times.
class UnreadableWidget : public QWidget {
  public:
    UnreadableWidget(QWidget* parent, int readable) : QWidget(parent), readable_(readable) {
        setObjectName("unreadable");
    }
    const QMetaObject* metaObject() const override {
        if (readable_-- == 0) throw std::bad_alloc();
        return QWidget::metaObject();
    }

  private:
    mutable int readable_;
};

TEST_F(PluginPanes, MakesThePaneAndJoinsItsOutlets) {
    const auto pane = load(makeBundle(folder_, "X.bundle", whole()));
    EXPECT_EQ(pane->title(), "Shows");
    EXPECT_THAT(record(), ElementsAre("attached 1", "created Shows", "Shows outlet titleText",
                                      "Shows outlet descriptionText", "Shows outlet uninstallBtn"));
}

TEST_F(PluginPanes, WhatTheInterfaceFileHidesIsHidden) {
    const auto pane = load(makeBundle(folder_, "X.bundle", whole()));
    const auto widget = pane->takeWidget();
    for (const char* name : {"titleText", "descriptionText", "uninstallBtn"})
        EXPECT_TRUE(widget->findChild<QWidget*>(name)->isHidden()) << name;
    pane->didEnter(Direction::Forward);
    for (const char* name : {"titleText", "descriptionText", "uninstallBtn"})
        EXPECT_FALSE(widget->findChild<QWidget*>(name)->isHidden()) << name;
}

TEST_F(PluginPanes, ThePaneIsDestroyedAndItsControlsThenDoNothing) {
    auto pane = load(makeBundle(folder_, "X.bundle", whole()));
    pane->takeWidget().reset();
    pane->didEnter(Direction::Backward);
    pane.reset();
    EXPECT_THAT(record(), Contains("Shows entered 1"));
    EXPECT_EQ(record().back(), "Shows destroyed");
}

TEST_F(PluginPanes, APaneWhoseElementsCannotBeJoinedIsDestroyed) {
    const BundleInfo info = readBundleInfo(makeBundle(folder_, "X.bundle", whole()));
    const PluginLibrary library(info, HostServices::shared().table());
    // While the elements are listed, and after the plug-in has this one's control.
    for (const int readable : {0, 1}) {
        Interface interface { std::make_unique<QWidget>(), "Shows" };
        new UnreadableWidget(interface.widget.get(), readable);
        EXPECT_THROW(PluginPane(info, library, std::move(interface), transcript_, {}),
                     std::bad_alloc);
        EXPECT_EQ(record().back(), "Shows destroyed") << readable;
    }
    EXPECT_THAT(record(),
                ElementsAre("attached 1", "created Shows", "Shows destroyed", "created Shows",
                            "Shows outlet unreadable", "Shows destroyed"));
}

TEST_F(PluginPanes, AButtonCallsItsAction) {
    const auto pane = load(makeBundle(folder_, "X.bundle", "Shows", {"hide:", "nothing:"}));
    const auto widget = pane->takeWidget();
    auto* hide = widget->findChild<QPushButton*>("hide");
    hide->click();
    EXPECT_THAT(record(), Contains("Shows action hide:"));
    EXPECT_TRUE(hide->isHidden());
    EXPECT_THAT(test::linesOf(folder_ / "transcript"),
                ElementsAre("action: hide: from hide", "hidden: hide"));
}

TEST_F(PluginPanes, AnUnknownActionIsRecordedInTheTranscript) {
    const auto pane = load(makeBundle(folder_, "X.bundle", "Shows", {"nothing:"}));
    pane->takeWidget()->findChild<QPushButton*>("nothing")->click();
    EXPECT_THAT(test::linesOf(folder_ / "transcript").back(),
                "problem: “" + folder_.path() + "/X.bundle”: its pane has no action “nothing:”");
}

TEST_F(PluginPanes, AnActionOfALabelIsRecordedInTheTranscript) {
    auto parts = whole();
    const std::string label = "name=\"titleText\">";
    parts.interfaceFile.insert(
        parts.interfaceFile.find(label) + label.size(),
        R"(<property name="action" stdset="0"><string>uninstall:</string></property>)");
    load(makeBundle(folder_, "X.bundle", parts));
    EXPECT_THAT(test::linesOf(folder_ / "transcript").back(),
                HasSubstr("“titleText” is not a button and cannot perform “uninstall:”"));
}

TEST_F(PluginPanes, APaneMayContinue) {
    const auto pane = load(makeBundle(folder_, "X.bundle", "PassesOver"));
    pane->didEnter(Direction::Forward);
    pane->didEnter(Direction::Backward);
    EXPECT_THAT(wishes_, ElementsAre(Direction::Forward, Direction::Backward));
}

TEST_F(PluginPanes, AnUntitledPaneTakesTheSectionsTitle) {
    auto parts = whole();
    parts.interfaceFile = test::interfaceFor("Untitled");
    parts.info["InstallerSectionTitle"] = "A Section";
    EXPECT_EQ(load(makeBundle(folder_, "X.bundle", parts))->title(), "A Section");
}

}  // namespace
}  // namespace quillmoor::host
