#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/pane/RK_MessageViewPane.h"
#include "quillmoor/platform/main_run_loop.h"
#include "tests/children/child_tools.h"
#include "tests/faults/fault_loop.h"
#include "tests/faults/kept_log.h"
#include "tests/faults/released_child.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

class ShownControl : public Control {
  public:
    bool isShown = false;
    void setHidden(bool hidden) override { isShown = !hidden; }
};

class Navigation : public PaneNavigation {
  public:
    int left = 0;
    void gotoNextPane() override { ++left; }
    void gotoPreviousPane() override { ++left; }
};

class PaneBundle : public platform::Bundle {
  public:
    OptionalPath archive;
    OptionalPath executablePath() override { return std::nullopt; }
    OptionalString infoDictionaryText(const std::string&) override { return std::nullopt; }
    OptionalPath pathForResource(const std::string&, const std::string&) override {
        return archive;
    }
};

class PaneBundles : public ForwardingBundles {
  public:
    std::shared_ptr<PaneBundle> own = std::make_shared<PaneBundle>();
    std::shared_ptr<platform::Bundle> mainBundle() override { return own; }
    std::shared_ptr<platform::Bundle> bundleForCode(const void*) override { return own; }
};

class PaneApplications : public ForwardingApplications {
  public:
    OptionalPath product;
    OptionalPath opened;
    bool hasOpened = false;
    OptionalPath absolutePathForAppBundle(const std::string&) override { return product; }
    bool openFile(const std::string& path) override {
        {
            const NotCounted notCounted;
            opened = path;
        }
        return hasOpened = ForwardingApplications::openFile(path);
    }
};

class PaneTools : public ForwardingToolPaths {
  public:
    std::string toolPath(const std::string&) override { return KX_DITTO; }
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
        platform->applications = &applications;
        platform->toolPaths = &tools;
        platform->bundles = &bundles;
        platform->console = &console;
    }
    ShownControl title;
    ShownControl description;
    ShownControl button;
    Navigation navigation;
    PaneApplications applications;
    PaneTools tools;
    PaneBundles bundles;
    SilentPaneConsole console;
    ScopedPlatform platform;
    KeptLog log;
    TempFolder folder;
    RK_MessageViewPane pane{navigation};
};

// With an uninstaller in the bundle that leaves a file where it was started.
struct UninstallerWorld : PaneWorld {
    UninstallerWorld() {
        folder.writeFile("source/" + kName + kProgram, "#!/bin/sh\nexec touch '" + started + "'\n");
        std::filesystem::permissions(application + kProgram, std::filesystem::perms::owner_all);
        EXPECT_TRUE(KXFileManager::compressFile(application, folder / "uninstaller.zip"));
        bundles.own->archive = folder / "uninstaller.zip";
    }
    // The run loop exists from now on in each run, and its descriptors are allowed to stay. The
    // uninstaller ends before its world does.
    ~UninstallerWorld() {
        platform::MainRunLoop::run(platform::RunLoopMode::Default,
                                   std::chrono::steady_clock::now());
        releaseRunningChild();
        siginfo_t child{};
        while (::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    const std::string kName = "Tallyframe Uninstaller.app";
    const std::string kProgram = "/Contents/Linux/uninstaller";
    std::string application = folder / ("source/" + kName);
    std::string started = folder / "started";
};

FaultScenario uninstalls() {
    return {"PaneOpensTheUninstaller",
            {"RK_MessageViewPane uninstall:"},
            [](FaultRun& run) {
                UninstallerWorld world;
                run.inject([&] { world.pane.uninstall(&world.button); });
                ASSERT_TRUE(world.applications.opened);
                const std::string& unpacked = *world.applications.opened;
                EXPECT_TRUE(world.applications.hasOpened || run.faulted());
                if (world.applications.hasOpened) {
                    EXPECT_TRUE(eventually([&] { return somethingAt(world.started); }));
                }
                // Whole, or not there.
                if (somethingAt(deleteLastPathComponent(unpacked))) {
                    EXPECT_EQ(readFile(unpacked + world.kProgram),
                              readFile(world.application + world.kProgram));
                }
            },
            Throws::AndMemory};
}

}  // namespace

std::vector<FaultScenario> paneScenarios() {
    return {
        uninstalls(),
        {"PaneIsEnteredAndLeft",
         {"RK_MessageViewPane title",
          "RK_MessageViewPane didEnterPane:", "RK_MessageViewPane shouldExitPane:"},
         [](FaultRun& run) {
             PaneWorld world;
             world.applications.product = "/Applications/Tallyframe.app";
             bool mayExit = false;
             run.inject([&] {
                 world.pane.title();
                 world.pane.didEnterPane(InstallerDirection::Forward);
                 mayExit = world.pane.shouldExitPane(InstallerDirection::Forward);
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
