// The operations that run a tool, or copy in the background.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>

#include "quillmoor/platform/main_run_loop.h"
#include "tests/children/child_tools.h"
#include "tests/faults/fault_loop.h"
#include "tests/faults/files_world.h"
#include "tests/faults/held_timeouts.h"
#include "tests/faults/released_child.h"

namespace quillmoor::test {
namespace {

using namespace std::chrono_literals;

// With real tools, and the project's own ditto.
class ToolWorld : public FilesWorld {
  public:
    ToolWorld() {
        platform()->tasks = platform::native().tasks;
        platform()->toolPaths = &tools_;
    }
    // The run loop exists from now on in each run, however early a tool has ended, and its
    // descriptors are allowed to stay.
    ~ToolWorld() {
        platform::MainRunLoop::run(platform::RunLoopMode::Default,
                                   std::chrono::steady_clock::now());
        releaseRunningChild();
    }

    std::string source = folder().makeFolder("source");
    std::string text = folder().writeFile("source/App.app/Contents/Info.plist", "<plist/>");
    std::string archive = folder().path() + "/archive.zip";
    std::string out = folder().path() + "/out";
    std::string copied = out + "/source";

  private:
    class Tools : public ForwardingToolPaths {
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

// The operation reports only that an item exists. That item must be a complete archive.
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

class Listening : public FileOperationDelegate {
  public:
    using FileOperationDelegate::fileOperationFinished;
    using FileOperationDelegate::fileOperationProgress;
    int statuses = 0;
    int ends = 0;
    StringList keys;  // of the last notice
    bool implements(Notice notice) const override {
        return notice == Notice::ProgressWithOperation || notice == Notice::FinishedWithOperation;
    }
    void fileOperationProgress(const FileOperationNotice&,
                               const platform::FileOperationRef&) override {
        ++statuses;
    }
    void fileOperationFinished(const FileOperationNotice& notice,
                               const platform::FileOperationRef&) override {
        const NotCounted notCounted;
        ++ends;
        keys.clear();
        for (const auto& [key, value] : notice) keys.push_back(key);
    }
};

using Copy = std::function<bool(const ToolWorld&, const FileOperationDelegateRef&)>;

// Whether it succeeded is seen at the destination alone. The end is reported in full all the same.
void copyInBackground(FaultRun& run, const Copy& copy) {
    const CopyWorld world;
    const auto delegate = std::make_shared<Listening>();
    bool started = false;
    run.inject([&] {
        started = copy(world, delegate);
        for (int pass = 0; started && delegate->ends == 0 && pass < 10'000; ++pass)
            platform::MainRunLoop::run(platform::RunLoopMode::Default,
                                       std::chrono::steady_clock::now() + 1ms);
    });
    EXPECT_TRUE(started || run.faulted());
    EXPECT_EQ(delegate->ends, started ? 1 : 0);
    if (started) {
        EXPECT_EQ(delegate->keys,
                  (StringList{"delegate", "destination", "operationtype", "source", "stage"}));
    }
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

// With a platform of the test, which has the run loop already.
void reportWithOwnContext(FaultRun& run) {
    using platform::FileOperationStage;
    ToolWorld world;
    platform::FileOperations& operations = *platform::native().fileOperations;
    const platform::FileOperationRef operation = operations.create();
    ASSERT_EQ(operations.schedule(operation), 0);
    const auto delegate = std::make_shared<Listening>();
    const FileOperationNotice info{
        {"delegate", FileOperationDelegateRef(delegate)},
        {"source", std::string("a source with a path that takes memory of its own")}};
    const platform::FileOperationReport running{
        operation, std::nullopt, FileOperationStage::Running, 0, {{{"bytes", 1.0}}}};
    const platform::FileOperationReport complete{operation, std::nullopt,
                                                 FileOperationStage::Complete, 0, std::nullopt};
    const auto serve = [] {
        platform::MainRunLoop::run(platform::RunLoopMode::Default,
                                   std::chrono::steady_clock::now());
    };
    serve();
    run.inject([&] {
        statusCallback(running, &info);
        statusCallback(complete, &info);
        serve();
    });
    EXPECT_EQ(operations.schedule(operation), 0) << "is still scheduled";
    const int notices = delegate->statuses + delegate->ends;
    EXPECT_TRUE(notices == 2 || run.faulted());
    if (!run.isLasting()) {
        EXPECT_EQ(notices, world.hasLogged("Exception in statusCallback.") ? 1 : 2);
    }
    if (delegate->ends > 0) {
        EXPECT_EQ(delegate->keys, (StringList{"delegate", "source", "stage"}));
    }
}

std::vector<FaultScenario> backgroundScenarios() {
    return {
        {"StatusCallback", {"statusCallback"}, reportWithOwnContext},
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
