// What the tests of the background copy share: a listener, and scripted operations.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quillmoor/base/failure.h"
#include "quillmoor/platform/main_run_loop.h"
#include "tests/files/files_fixture.h"

namespace quillmoor::test {

// Records its notices, and implements those that the test selects.
class Listener : public FileOperationDelegate {
  public:
    std::vector<Notice> implemented{Notice::Progress, Notice::ProgressWithOperation,
                                    Notice::Finished, Notice::FinishedWithOperation};
    StringList events;
    FileOperationNotice last;
    platform::FileOperationRef operation;
    bool onMainThread = true;
    std::optional<KXFailure> failure;  // that the last notice could ask for
    std::function<void(const platform::FileOperationRef& operation)> onProgress =
        [](const platform::FileOperationRef&) {};

    bool implements(Notice notice) const override {
        return std::find(implemented.begin(), implemented.end(), notice) != implemented.end();
    }
    void fileOperationProgress(const FileOperationNotice& notice) override {
        note("progress", notice, nullptr);
    }
    void fileOperationProgress(const FileOperationNotice& notice,
                               const platform::FileOperationRef& fileOperation) override {
        note("progress with operation", notice, fileOperation);
        onProgress(fileOperation);
    }
    void fileOperationFinished(const FileOperationNotice& notice) override {
        note("finished", notice, nullptr);
    }
    void fileOperationFinished(const FileOperationNotice& notice,
                               const platform::FileOperationRef& fileOperation) override {
        note("finished with operation", notice, fileOperation);
    }

  private:
    void note(const char* event, const FileOperationNotice& notice,
              const platform::FileOperationRef& fileOperation) {
        onMainThread = onMainThread && platform::current().mainThread->isMainThread();
        events.emplace_back(event);
        failure = KXFailure::last();
        last = notice;
        operation = fileOperation;
    }
};

// Sends the reports that the test asks for.
class ToldOperations : public ForwardingFileOperations {
  public:
    using Report = platform::FileOperationReport;
    using Stage = platform::FileOperationStage;

    StringList calls;
    StringList copied;  // source, folder, name, interval
    std::int32_t scheduleStatus = 0;
    std::int32_t copyStatus = 0;
    std::int32_t unscheduleStatus = 0;
    platform::FileOperationCallback callback;
    platform::FileOperationRef operation;

    std::function<void()> onSchedule = [] {};

    platform::FileOperationRef create() override {
        calls.emplace_back("create");
        return ForwardingFileOperations::create();
    }
    std::int32_t schedule(const platform::FileOperationRef& scheduled) override {
        calls.emplace_back("schedule");
        operation = scheduled;
        onSchedule();
        return scheduleStatus;
    }
    std::int32_t unschedule(const platform::FileOperationRef&) override {
        calls.emplace_back("unschedule");
        return unscheduleStatus;
    }
    std::int32_t copy(const platform::FileOperationRef&, const std::string& source,
                      const std::string& folder, const std::string& name,
                      platform::FileOperationCallback onChange,
                      std::chrono::milliseconds interval) override {
        calls.emplace_back("copy");
        copied = {source, folder, name, std::to_string(interval.count())};
        if (copyStatus == 0) callback = std::move(onChange);
        return copyStatus;
    }
    std::int32_t cancel(const platform::FileOperationRef& cancelled) override {
        calls.emplace_back(cancelled == operation ? "cancel" : "cancel another");
        return -50;
    }
    void report(Stage stage,
                std::optional<platform::FileOperationStatus> status = std::nullopt) const {
        callback(Report{operation, "/current", stage, -36, std::move(status)});
    }
};

inline void serveDefaultMode(std::chrono::milliseconds time) {
    platform::MainRunLoop::run(platform::RunLoopMode::Default,
                               std::chrono::steady_clock::now() + time);
}

class CopyWithProgressTest : public FilesTest {
  protected:
    CopyWithProgressTest() { platform_->fileOperations = &operations_; }
    // The last notice refers to the delegate that keeps it.
    ~CopyWithProgressTest() override {
        if (listener_ == nullptr) return;
        listener_->last.clear();
        listener_->operation = nullptr;
    }
    bool start(const CallerObject& object = nullptr, const CallerObject& object2 = nullptr) {
        return KXFileManager::copyFileWithProgress(file_, folder_ / "to/copy", listener_, object,
                                                   object2);
    }
    void deliver() { serveDefaultMode(std::chrono::milliseconds(0)); }

    std::string file_ = folder_.writeFile("file", "text");
    ToldOperations operations_;
    std::shared_ptr<Listener> listener_ = std::make_shared<Listener>();
};

}  // namespace quillmoor::test
