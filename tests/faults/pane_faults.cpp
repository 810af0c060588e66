#include <gtest/gtest.h>

#include "pane/RK_MessageViewPane.h"
#include "tests/faults/fault_loop.h"
#include "tests/faults/kept_log.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

class ShownControl : public platform::Control {
  public:
    bool isShown = false;
    void setHidden(bool hidden) override { isShown = !hidden; }
};

class Navigation : public platform::PaneNavigation {
  public:
    int left = 0;
    void gotoNextPane() override { ++left; }
    void gotoPreviousPane() override { ++left; }
};

class PaneBundle : public platform::Bundle {
  public:
    OptionalPath executablePath() override { return std::nullopt; }
    OptionalString infoDictionaryText(const std::string&) override { return std::nullopt; }
    OptionalPath pathForResource(const std::string&, const std::string&) override {
        return std::nullopt;
    }
};

class PaneBundles : public ForwardingBundles {
  public:
    std::shared_ptr<PaneBundle> own = std::make_shared<PaneBundle>();
    std::shared_ptr<platform::Bundle> mainBundle() override { return own; }
    std::shared_ptr<platform::Bundle> bundleForCode(const void*) override { return own; }
};

class PaneWorkspace : public ForwardingWorkspace {
  public:
    OptionalPath product;
    OptionalPath absolutePathForAppBundle(const std::string&) override { return product; }
};

class SilentPaneConsole : public ForwardingConsole {
  public:
    void log(std::string_view) override {}
    void print(std::string_view) override {}
    void putString(std::string_view) override {}
};

struct PaneWorld {
    PaneWorld() {
        pane.titleText = &title;
        pane.descriptionText = &description;
        pane.uninstallBtn = &button;
        platform->workspace = &workspace;
        platform->bundles = &bundles;
        platform->console = &console;
    }
    ShownControl title;
    ShownControl description;
    ShownControl button;
    Navigation navigation;
    PaneWorkspace workspace;
    PaneBundles bundles;
    SilentPaneConsole console;
    ScopedPlatform platform;
    KeptLog log;
    TempFolder folder;
    RK_MessageViewPane pane{navigation};
};

}  // namespace

std::vector<FaultScenario> paneScenarios() {
    return {
        {"PaneIsEnteredAndLeft",
         {"RK_MessageViewPane title",
          "RK_MessageViewPane didEnterPane:", "RK_MessageViewPane shouldExitPane:"},
         [](FaultRun& run) {
             PaneWorld world;
             world.workspace.product = "/Applications/Tallyframe.app";
             bool mayExit = false;
             run.inject([&] {
                 world.pane.title();
                 world.pane.didEnterPane(platform::InstallerDirection::Forward);
                 mayExit = world.pane.shouldExitPane(platform::InstallerDirection::Forward);
             });
             EXPECT_TRUE(mayExit);
             // Shown or passed over, and never both.
             EXPECT_NE(world.button.isShown, world.navigation.left == 1);
             EXPECT_TRUE(world.button.isShown || run.faulted());
         },
         Throws::AndMemory},
    };
}

}  // namespace quillmoor::test
