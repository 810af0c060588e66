#include "quillmoor/platform/posix/file_operations_posix.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/base/stop_token.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/thread_posix.h"

namespace quillmoor::platform::posix {
namespace {

using std::chrono::steady_clock;

// The platform's statuses.
constexpr std::int32_t kParameterError = -50;
constexpr std::int32_t kNoMemory = -108;
constexpr std::int32_t kCanceled = -128;
constexpr std::int32_t kNotFound = -43;
constexpr std::int32_t kDuplicateName = -48;
constexpr std::int32_t kInputOutputError = -36;

std::int32_t statusOf(const Error& error) {
    switch (error.code) {
        case ECANCELED:
            return kCanceled;
        case ENOENT:
            return kNotFound;
        case EEXIST:
            return kDuplicateName;
        default:
            return kInputOutputError;
    }
}

struct Work {
    std::string source;
    std::string destination;
    // Shared, since copying the function itself may need memory, which can be lacking later.
    std::shared_ptr<const FileOperationCallback> callback;
    std::chrono::milliseconds interval{};
};

// The worker copies, a second thread reads its progress, and reports are queued for the main
// thread.
class PosixFileOperation final : public FileOperation,
                                 public std::enable_shared_from_this<PosixFileOperation> {
  public:
    // False when it was so before.
    bool setScheduled(bool scheduled) { return scheduled_.exchange(scheduled) != scheduled; }

    std::int32_t start(Work work) {
        if (!scheduled_ || started_.exchange(true)) return kParameterError;
        work_ = std::move(work);
        try {
            // Prepared now, so that the last report arrives even without memory at the end.
            MainRunLoop::Prepared last = MainRunLoop::prepareForDefaultMode(
                [self = shared_from_this(),
                 report = reportOf(FileOperationStage::Complete)]() mutable {
                    report.error = self->status_;
                    report.failure = std::move(self->failure_);
                    self->deliver(report);
                });
            nativeMainThread()->detachNewThread(
                [self = shared_from_this(), last = std::move(last)]() mutable {
                    self->run(std::move(last));
                });
        } catch (const Exception&) {
            // A run that could not begin keeps nothing of the caller's.
            work_ = {};
            return kNoMemory;
        } catch (const std::bad_alloc&) {
            work_ = {};
            return kNoMemory;
        }
        return 0;
    }

    void cancel() {
        stop_.requestStop();
        counting_.requestStop();
    }

  private:
    void run(MainRunLoop::Prepared last) {
        report(FileOperationStage::Preflighting);
        report(FileOperationStage::Running);
        start_ = steady_clock::now();
        Thread watcher = startWatching();
        status_ = copy();
        endWatching(watcher);
        // Last, when the watcher has ended: no other report can follow the one about the end.
        MainRunLoop::post(std::move(last));
    }

    std::int32_t copy() {
        std::int32_t status = kNoMemory;
        try {
            Outcome copied =
                nativeFileTree()->copy(work_.source, work_.destination, &progress_, stop_.token());
            if (copied) return 0;
            status = statusOf(copied.error());
            failure_ = copied.error();
            return status;
        } catch (const std::bad_alloc&) {
            return status;
        } catch (const std::exception&) {
            return kInputOutputError;
        }
    }

    // Without a second thread the copy continues and reports its stages only.
    Thread startWatching() {
        try {
            return Thread([this] { watch(); });
        } catch (const std::system_error&) {
            return {};
        } catch (const std::bad_alloc&) {
            return {};
        }
    }

    void endWatching(Thread& watcher) {
        {
            const std::lock_guard lock(mutex_);
            copied_ = true;
        }
        ended_.notify_all();
        counting_.requestStop();
        if (watcher.joinable()) watcher.join();
    }

    void watch() {
        std::unique_lock lock(mutex_);
        while (!ended_.wait_for(lock, work_.interval, [this] { return copied_; })) {
            // The first status counts the whole source. Under the lock, endWatching() could not
            // stop the count.
            lock.unlock();
            // While the main thread is in another mode one status waits for it, not one for each
            // interval.
            if (!statusIsQueued_.exchange(true)) reportStatus();
            lock.lock();
        }
    }

    void reportStatus() {
        try {
            FileOperationStatus status = currentStatus();
            // A count that was stopped is incomplete.
            if (!counting_.isStopRequested())
                post(reportOf(FileOperationStage::Running, std::move(status)));
        } catch (const std::bad_alloc&) {
            statusIsQueued_ = false;
        }
    }

    // The total is counted for the first status, so that a short copy needs no count.
    FileOperationStatus currentStatus() {
        if (!total_) total_ = nativeFileTree()->count(work_.source, counting_.token());
        const auto bytes = static_cast<double>(progress_.bytes.load(std::memory_order_relaxed));
        const auto items = static_cast<double>(progress_.items.load(std::memory_order_relaxed));
        // The source may have grown since it was counted: what remains must not become negative.
        const double allBytes = std::max(static_cast<double>(total_->bytes), bytes);
        const double allItems = std::max(static_cast<double>(total_->items), items);
        const std::chrono::duration<double> passed = steady_clock::now() - start_;
        return {{kFSOperationTotalBytesKey, allBytes},
                {kFSOperationBytesCompleteKey, bytes},
                {kFSOperationBytesRemainingKey, allBytes - bytes},
                {kFSOperationTotalObjectsKey, allItems},
                {kFSOperationObjectsCompleteKey, items},
                {kFSOperationObjectsRemainingKey, allItems - items},
                {kFSOperationThroughputKey, bytes / passed.count()}};
    }

    // Without memory for it, a stage is not reported.
    void report(FileOperationStage stage) {
        try {
            post(reportOf(stage));
        } catch (const std::bad_alloc&) {
        }
    }

    void post(FileOperationReport report) {
        MainRunLoop::postToDefaultMode(
            [self = shared_from_this(), report = std::move(report)] { self->deliver(report); });
    }

    FileOperationReport reportOf(FileOperationStage stage,
                                 std::optional<FileOperationStatus> status = std::nullopt) {
        return {shared_from_this(), work_.source, stage, 0, std::move(status)};
    }

    // On the main thread.
    void deliver(const FileOperationReport& report) {
        if (report.status) statusIsQueued_ = false;
        // The last report releases the callback, and with it on this thread what the callback
        // holds.
        const auto callback = report.stage == FileOperationStage::Complete
                                  ? std::move(work_.callback)
                                  : work_.callback;
        if (scheduled_ && callback != nullptr && *callback) (*callback)(report);
    }

    std::atomic<bool> scheduled_{false};
    std::atomic<bool> started_{false};
    std::atomic<bool> statusIsQueued_{false};
    StopSource stop_;
    StopSource counting_;      // stops the count of the total
    Work work_;                // set before the worker starts; the callback is the main thread's
    std::int32_t status_ = 0;  // the worker's until it posts the last report
    std::optional<Error> failure_;  // likewise
    TreeProgress progress_;
    steady_clock::time_point start_;
    std::optional<TreeCount> total_;  // the watcher's
    std::mutex mutex_;
    std::condition_variable ended_;
    bool copied_ = false;
};

// Null for null, and for an operation that another implementation has made.
std::shared_ptr<PosixFileOperation> own(const FileOperationRef& operation) {
    return std::dynamic_pointer_cast<PosixFileOperation>(operation);
}

bool isOneName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

class PosixFileOperations final : public FileOperations {
  public:
    FileOperationRef create() override { return std::make_shared<PosixFileOperation>(); }

    std::int32_t schedule(const FileOperationRef& operation) override {
        const auto ours = own(operation);
        return ours != nullptr && ours->setScheduled(true) ? 0 : kParameterError;
    }

    std::int32_t unschedule(const FileOperationRef& operation) override {
        const auto ours = own(operation);
        return ours != nullptr && ours->setScheduled(false) ? 0 : kParameterError;
    }

    std::int32_t copy(const FileOperationRef& operation, const std::string& source,
                      const std::string& folder, const std::string& name,
                      FileOperationCallback callback, std::chrono::milliseconds interval) override {
        const auto ours = own(operation);
        if (ours == nullptr || !isOneName(name)) return kParameterError;
        return ours->start({source, *appendPathComponent(folder, name),
                            std::make_shared<const FileOperationCallback>(std::move(callback)),
                            interval});
    }

    std::int32_t cancel(const FileOperationRef& operation) override {
        const auto ours = own(operation);
        if (ours == nullptr) return kParameterError;
        ours->cancel();
        return 0;
    }
};

}  // namespace

FileOperations* sharedFileOperations() {
    static auto* const operations = new PosixFileOperations;
    return operations;
}

}  // namespace quillmoor::platform::posix
