// The operations that run a tool, or copy in the background.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>

#include "platform/main_run_loop.h"
#include "tests/children/child_tools.h"
#include "tests/faults/fault_loop.h"
#include "tests/faults/files_world.h"
#include "tests/faults/given_up_child.h"
#include "tests/faults/held_timeouts.h"

namespace quillmoor::test {
namespace {

using namespace std::chrono_literals;

// With real tools, and the project's own ditto.
class ToolWorld : public FilesWorld {
  public:
    ToolWorld() {
        platform()->tasks = platform::native().tasks;
        platform()->workspace = &tools_;
    }
    // The run loop exists from now on in each run, however early a tool has ended, and its
    // descriptors are allowed to stay.
    ~ToolWorld() {
        platform::MainRunLoop::run(platform::RunLoopMode::Default,
                                   std::chrono::steady_clock::now());
        giveUpARunningChild();
    }

    std::string source = folder().makeFolder("source");
    std::string text = folder().writeFile("source/App.app/Contents/Info.plist", "<plist/>");
    std::string archive = folder().path() + "/archive.zip";
    std::string out = folder().path() + "/out";
    std::string copied = out + "/source";

  private:
    class Tools : public FilesWorkspace {
      public:
        std::string toolPath(const std::string&) override { return KX_DITTO; }
    };
    Tools tools_;
};

class TouchWorld : public ToolWorld {
  public:
    ~TouchWorld() { timeouts_.end(); }

  private:
    HeldTimeouts timeouts_{platform()};
};

// A weak answer by its own promise: something is there. What is there is a whole archive.
void pack(FaultRun& run, const std::function<bool(const ToolWorld&)>& compress) {
    const ToolWorld world;
    bool packed = false;
    run.inject([&] { packed = compress(world); });
    EXPECT_TRUE(packed || run.faulted());
    if (!packed) return;
    EXPECT_TRUE(KXFileManager::decompressFile(world.archive, world.out));
    StringList files;
    for (const auto& each : std::filesystem::recursive_directory_iterator(world.out))
        if (each.is_regular_file()) files.push_back(readFile(each.path()));
    EXPECT_EQ(files, StringList{"<plist/>"});
}

std::vector<FaultScenario> archiveScenarios() {
    return {
        {"CompressFile",
         {"KXFileManager compressFile:toDestinationFile:"},
         [](FaultRun& run) {
             pack(run, [](const ToolWorld& world) {
                 return KXFileManager::compressFile(given(world.source), given(world.archive));
             });
         }},
        {"CompressFileWithoutParent",
         {"KXFileManager compressFile:toDestinationFile:includeParent:"},
         [](FaultRun& run) {
             pack(run, [](const ToolWorld& world) {
                 return KXFileManager::compressFile(given(world.source), given(world.archive),
                                                    IncludeParent::No);
             });
         }},
        {"DecompressFile",
         {"KXFileManager decompressFile:toDestinationFolder:"},
         [](FaultRun& run) {
             const ToolWorld world;
             ASSERT_TRUE(KXFileManager::compressFile(world.source, world.archive));
             bool unpacked = false;
             run.inject([&] {
                 unpacked = KXFileManager::decompressFile(given(world.archive), given(world.out));
             });
             EXPECT_TRUE(unpacked || run.faulted());
             if (unpacked) {
                 EXPECT_EQ(readFile(world.out + "/source/App.app/Contents/Info.plist"), "<plist/>");
             }
         }},
    };
}

std::vector<FaultScenario> touchScenarios() {
    return {
        {"TouchFile",
         {"KXFileManager touchFile:", "KXFileManager touchFile:setCreationDate:"},
         [](FaultRun& run) {
             TouchWorld world;
             bool touched = false;
             run.inject([&] {
                 touched = KXFileManager::touchFile(given(world.text));
                 touched =
                     KXFileManager::touchFile(given(world.text), SetCreationDate::Yes) && touched;
             });
             EXPECT_TRUE(touched || run.faulted());
             EXPECT_EQ(readFile(world.text), "<plist/>");
         },
         Throws::Exceptions},
    };
}

// Each look at the clock is a second later than the last: no tool makes the folder that is waited
// for.
class SteppingClock : public ForwardingClock {
  public:
    std::chrono::system_clock::time_point now() override {
        return ForwardingClock::now() + std::chrono::seconds(++looks_);
    }

  private:
    std::atomic<int> looks_{0};
};

class CopyWorld : public ToolWorld {
  public:
    CopyWorld() { platform()->clock = &clock_; }
    // The log's worker asks the clock for each line that is still queued.
    ~CopyWorld() override {
        KXLog::finishWriting();
        platform()->clock = platform::native().clock;
    }

  private:
    SteppingClock clock_;
};

class Ending : public FileOperationDelegate {
  public:
    using FileOperationDelegate::fileOperationFinished;
    bool hasEnded = false;
    bool implements(Notice notice) const override {
        return notice == Notice::FinishedWithOperation;
    }
    void fileOperationFinished(const FileOperationNotice&,
                               const platform::FileOperationRef&) override {
        hasEnded = true;
    }
};

using Copy = std::function<bool(const ToolWorld&, const FileOperationDelegateRef&)>;

// Whether it succeeded is seen at the destination alone.
void copyInBackground(FaultRun& run, const Copy& copy) {
    const CopyWorld world;
    const auto delegate = std::make_shared<Ending>();
    bool started = false;
    run.inject([&] {
        started = copy(world, delegate);
        const NotCounted notCounted;
        for (int pass = 0; started && !delegate->hasEnded && pass < 10'000; ++pass)
            platform::MainRunLoop::run(platform::RunLoopMode::Default,
                                       std::chrono::steady_clock::now() + 1ms);
    });
    EXPECT_TRUE(started || run.faulted());
    EXPECT_EQ(delegate->hasEnded, started);
    EXPECT_EQ(readFile(world.text), "<plist/>");
    const bool copied = somethingAt(world.copied);
    EXPECT_TRUE(copied || run.faulted());
    if (copied) {
        EXPECT_EQ(describeTree(world.copied), describeTree(world.source));
    }
    if (somethingAt(world.out) && !run.isLasting()) {
        EXPECT_EQ(listing(world.out), copied ? "source" : "");
    }
}

std::vector<FaultScenario> backgroundScenarios() {
    return {
        {"CopyFileWithProgress",
         {"KXFileManager copyFileWithProgress:destination:delegate:object:"},
         [](FaultRun& run) {
             copyInBackground(run,
                              [](const ToolWorld& world, const FileOperationDelegateRef& delegate) {
                                  return KXFileManager::copyFileWithProgress(
                                      given(world.source), given(world.copied), delegate, nullptr);
                              });
         }},
        {"CopyFileWithProgressAndTwoObjects",
         {"KXFileManager copyFileWithProgress:destination:delegate:object:object2:",
          "KXFileManager cancelFileOperation:"},
         [](FaultRun& run) {
             copyInBackground(
                 run, [](const ToolWorld& world, const FileOperationDelegateRef& delegate) {
                     KXFileManager::cancelFileOperation(nullptr);
                     return KXFileManager::copyFileWithProgress(
                         given(world.source), given(world.copied), delegate, nullptr, nullptr);
                 });
         }},
        {"RegisterApplication",
         {"KXFileManager registerApplicationWithLaunchServices:"},
         [](FaultRun& run) {
             const ToolWorld world;
             const std::string application = world.source + "/App.app";
             bool registered = false;
             run.inject([&] {
                 registered =
                     KXFileManager::registerApplicationWithLaunchServices(given(application));
             });
             // It has no program.
             EXPECT_FALSE(registered);
         }},
    };
}

}  // namespace

std::vector<FaultScenario> fileToolScenarios() {
    std::vector<FaultScenario> all;
    for (const auto& part : {archiveScenarios, touchScenarios, backgroundScenarios})
        for (FaultScenario& scenario : part()) all.push_back(std::move(scenario));
    return all;
}

}  // namespace quillmoor::test
