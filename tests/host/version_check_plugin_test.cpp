// The parts of the shipped bundle: its dictionary, its interface files, its plug-in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QPushButton>

#include "host/installer_controller.h"
#include "host/plugin/bundle_info.h"
#include "host/plugin/host_services.h"
#include "host/plugin/interface_file.h"
#include "host/plugin/plugin_library.h"
#include "tests/host/support/version_check.h"

namespace quillmoor::host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(VersionCheckInfo, NamesTheBundle) {
    const BundleInfo info = readBundleInfo(VERSION_CHECK_BUNDLE);
    EXPECT_EQ(info.identifier, "com.quillmoor.tallyframe.versioncheck");
    EXPECT_EQ(info.executable, "VersionCheck");
    EXPECT_EQ(info.interfaceFile, "VersionCheck");
    EXPECT_EQ(info.sectionTitle, "Version Check");
    EXPECT_EQ(info.productName, "Tallyframe");
    EXPECT_EQ(info.version, PROJECT_VERSION);
}

class VersionCheckInterface : public ::testing::TestWithParam<const char*> {
  protected:
    Interface load() {
        const BundleInfo info = readBundleInfo(VERSION_CHECK_BUNDLE);
        return loadInterface(info, findInterfaceFile(info, {GetParam()}));
    }
};

TEST_P(VersionCheckInterface, NamesThePaneAndTheButtonsAction) {
    const Interface interface = load();
    EXPECT_EQ(interface.paneClass, "RK_MessageViewPane");
    const auto* button = interface.widget->findChild<QPushButton*>("uninstallBtn");
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->property("action").toString(), "uninstall:");
}

TEST_P(VersionCheckInterface, BeginsWithAllThreeElementsHidden) {
    const Interface interface = load();
    for (const char* name : {"titleText", "descriptionText", "uninstallBtn"}) {
        const auto* element = interface.widget->findChild<QWidget*>(name);
        ASSERT_NE(element, nullptr) << name;
        EXPECT_TRUE(element->isHidden()) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Language, VersionCheckInterface, ::testing::Values("en", "de"),
                         [](const auto& each) { return std::string(each.param); });

// A pane of the shipped plug-in, with a host that records where it goes.
class VersionCheckPlugIn : public ::testing::Test {
  protected:
    VersionCheckPlugIn() {
        computer_.use();
        installer_pane_host host{};
        host.context = this;
        host.goto_next_pane = [](void* context) { note(context, "next"); };
        host.goto_previous_pane = [](void* context) { note(context, "previous"); };
        const BundleInfo info = readBundleInfo(VERSION_CHECK_BUNDLE);
        pane_ = PluginLibrary(info, HostServices::shared().table())
                    .createPane("RK_MessageViewPane", host);
    }
    ~VersionCheckPlugIn() override { pane_.destroy(pane_.context); }

    static void note(void* context, const std::string& what) {
        static_cast<VersionCheckPlugIn*>(context)->events_.push_back(what);
    }
    bool join(const char* outlet) {
        installer_control control{};
        control.context = this;
        control.set_hidden = [](void* context, int hidden) {
            note(context, hidden != 0 ? "hidden" : "shown");
        };
        return pane_.set_outlet(pane_.context, outlet, &control) != 0;
    }
    std::vector<std::string> enter(int direction) {
        events_.clear();
        pane_.did_enter_pane(pane_.context, direction);
        return events_;
    }

    test::Computer computer_;
    std::vector<std::string> events_;
    installer_pane pane_{};
};

TEST_F(VersionCheckPlugIn, IsTitledVersionCheck) {
    EXPECT_STREQ(pane_.title(pane_.context), "Version Check");
}

TEST_F(VersionCheckPlugIn, AnUndefinedDirectionCountsAsForward) {
    EXPECT_THAT(enter(INSTALLER_DIRECTION_FORWARD), ElementsAre("next"));
    EXPECT_THAT(enter(INSTALLER_DIRECTION_BACKWARD), ElementsAre("previous"));
    EXPECT_THAT(enter(INSTALLER_DIRECTION_UNDEFINED), ElementsAre("next"));
}

TEST_F(VersionCheckPlugIn, HasTheThreeOutletsAndNoOther) {
    EXPECT_TRUE(join("titleText"));
    EXPECT_TRUE(join("descriptionText"));
    EXPECT_TRUE(join("uninstallBtn"));
    EXPECT_FALSE(join("gap"));
    EXPECT_FALSE(join(""));
    computer_.install();
    EXPECT_THAT(enter(INSTALLER_DIRECTION_UNDEFINED), ElementsAre("shown", "shown", "shown"));
}

TEST_F(VersionCheckPlugIn, AMissingOutletIsIgnored) {
    computer_.install();
    EXPECT_THAT(enter(INSTALLER_DIRECTION_FORWARD), IsEmpty());
    join("uninstallBtn");
    EXPECT_THAT(enter(INSTALLER_DIRECTION_FORWARD), ElementsAre("shown"));
}

TEST_F(VersionCheckPlugIn, MayAlwaysBeLeft) {
    for (const int direction : {0, 1, 2, 7})
        EXPECT_EQ(pane_.should_exit_pane(pane_.context, direction), 1);
}

TEST_F(VersionCheckPlugIn, HasNoOtherAction) {
    EXPECT_EQ(pane_.perform_action(pane_.context, "uninstall", nullptr), 0);
    EXPECT_EQ(pane_.perform_action(pane_.context, "reinstall:", nullptr), 0);
}

// All elements below `object` that a screen reader can reach now, as "role name".
void collect(QAccessibleInterface& object, QStringList& all) {
    if (object.state().invisible) return;
    const QString name = object.text(QAccessible::Name);
    const QAccessible::Role role = object.role();
    if (role == QAccessible::StaticText) all.append("text " + name.section('\n', 0, 0));
    if (role == QAccessible::PushButton)
        all.append("button " + name + " (" + object.text(QAccessible::Description) + ")");
    for (int i = 0; i < object.childCount(); ++i)
        if (QAccessibleInterface* child = object.child(i)) collect(*child, all);
}

TEST(VersionCheckAccessibility, EveryElementOfTheWindowHasItsRoleAndItsName) {
    const test::Computer computer;
    computer.use();
    computer.install();
    Transcript transcript;
    InstallerController controller(planForBundles({VERSION_CHECK_BUNDLE}), {"", {"en"}, {}},
                                   transcript);
    controller.start();
    controller.continueToPlugin();
    controller.showWindow();

    auto* window = QAccessible::queryAccessibleInterface(&controller.window());
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->text(QAccessible::Name), "Install Tallyframe");
    QStringList all;
    collect(*window, all);
    EXPECT_THAT(
        all, ElementsAre(
                 "text Tallyframe", "text Installer", "text Introduction, done",
                 "text Version Check, current step", "text Summary, to come", "text Step 2 of 3",
                 "text Version Check", "text Tallyframe is already installed",
                 "text A copy of Tallyframe is on this computer. If you remove it first, nothing "
                 "of the old version is left beside the new one.",
                 "button Open Uninstaller… (Opens the uninstaller as an application of its own)",
                 "button Go Back (Back to Introduction)",
                 "button Continue (Version Check, Step 2 of 3)"));
}

}  // namespace
}  // namespace quillmoor::host
