#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "quillmoor/base/format.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/platform/exception.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using platform::FileOperationRef;
using platform::FileOperationReport;
using platform::FileOperationStage;
using Notice = FileOperationDelegate::Notice;

constexpr std::chrono::seconds kLongestCreation{10};
constexpr std::chrono::milliseconds kStatusInterval{1000};

void reportOnConsole(const std::string& text) {
    platform::current().console->log(text);
}

constexpr char kCopyFileWithProgress[] =
    "+[KXFileManager copyFileWithProgress:destination:delegate:object:object2:]";
constexpr char kStatusCallback[] = "statusCallback";

// A text of the notice; nil without one, and without memory.
OptionalPath textIn(const FileOperationNotice& notice, const char* key) noexcept {
    try {
        const auto found = notice.find(key);
        const auto* text =
            found != notice.end() ? std::get_if<std::string>(&found->second) : nullptr;
        return text != nullptr ? OptionalPath(*text) : std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

// Filled in place: copying a variant that holds a string ends the process if memory runs out
// meanwhile (libstdc++ 12).
FileOperationNotice contextOf(const std::string& source, const std::string& destination,
                              FileOperationDelegateRef delegate, CallerObject object,
                              CallerObject object2) {
    FileOperationNotice context;
    context["source"] = source;
    context["destination"] = destination;
    context["operationtype"] = std::string("copy");
    if (delegate != nullptr) context["delegate"] = std::move(delegate);
    if (object != nullptr) context["object"] = std::move(object);
    if (object2 != nullptr) context["object2"] = std::move(object2);
    return context;
}

FileOperationDelegateRef delegateOf(const FileOperationNotice& info) {
    const auto found = info.find("delegate");
    if (found == info.end()) return nullptr;
    const auto* delegate = std::get_if<FileOperationDelegateRef>(&found->second);
    return delegate != nullptr ? *delegate : nullptr;
}

// One event, in its form with the operation and in the one without.
struct Event {
    using Plain = void (FileOperationDelegate::*)(const FileOperationNotice&);
    using WithOperation = void (FileOperationDelegate::*)(const FileOperationNotice&,
                                                          const FileOperationRef&);
    Notice plain;
    Plain notifyPlain;
    Notice withOperation;
    WithOperation notifyWithOperation;
};

const Event kProgress{Notice::Progress, &FileOperationDelegate::fileOperationProgress,
                      Notice::ProgressWithOperation, &FileOperationDelegate::fileOperationProgress};
const Event kFinished{Notice::Finished, &FileOperationDelegate::fileOperationFinished,
                      Notice::FinishedWithOperation, &FileOperationDelegate::fileOperationFinished};

// A notice and the delegate it is for.
class Message {
  public:
    FileOperationNotice notice;

    // False when the delegate implements neither form. Allocates nothing.
    bool address(const Event& event, FileOperationDelegateRef delegate,
                 const FileOperationRef& operation) {
        if (delegate == nullptr) return false;
        hasOperation_ = delegate->implements(event.withOperation);
        if (!hasOperation_ && !delegate->implements(event.plain)) return false;
        event_ = &event;
        delegate_ = std::move(delegate);
        operation_ = operation;
        return true;
    }

    // How the copy ended: the delegate of the last notice can ask for it.
    void setEnd(const FileOperationReport& report) noexcept {
        hasEnded_ = true;
        status_ = report.error;
        try {
            failure_ = report.failure;
        } catch (const std::bad_alloc&) {
            return;  // the status says why
        }
    }

    void deliver() const {
        if (hasEnded_) recordEnd();
        if (hasOperation_)
            ((*delegate_).*event_->notifyWithOperation)(notice, operation_);
        else
            ((*delegate_).*event_->notifyPlain)(notice);
    }

  private:
    void recordEnd() const noexcept {
        const OptionalPath source = textIn(notice, "source");
        const OptionalPath destination = textIn(notice, "destination");
        const Operation copy({kCopyFileWithProgress, source, destination});
        failure_ ? noteFailure(*failure_) : noteStatus(status_);
    }

    const Event* event_ = nullptr;
    bool hasOperation_ = false;
    FileOperationDelegateRef delegate_;
    FileOperationRef operation_;
    bool hasEnded_ = false;
    std::int32_t status_ = 0;
    std::optional<Error> failure_;
};

std::function<void()> deliveryOf(std::shared_ptr<const Message> message) {
    return [message = std::move(message)] { message->deliver(); };
}

// The context of one copy. Everything that its last notice needs is allocated before the copy
// starts, so that the notice is sent even if there is no memory at the end.
class Context {
  public:
    explicit Context(FileOperationNotice info) {
        last_->notice = std::move(info);
        FileOperationNotice stage;
        stage["stage"] = static_cast<long>(FileOperationStage::Complete);
        stage_ = stage.extract(stage.begin());
        prepareDelivery();
    }

    const FileOperationNotice& info() const { return last_->notice; }

    // True until the last notice has been sent.
    bool isPrepared() const { return !delivery_.empty(); }

    // The info becomes the notice.
    void sendFinished(const FileOperationReport& report) {
        platform::PreparedCall delivery;
        delivery.swap(delivery_);
        last_->notice.insert(std::move(stage_));
        last_->setEnd(report);
        if (last_->address(kFinished, delegateOf(last_->notice), report.operation))
            platform::current().mainThread->queue(std::move(delivery));
    }

  private:
    // Fails if the process has no descriptors left. That is no reason to refuse the copy: the
    // platform reports whether it can begin.
    void prepareDelivery() {
        try {
            delivery_ = platform::current().mainThread->prepareCall(deliveryOf(last_));
        } catch (const platform::Exception&) {
            return;
        }
    }

    const std::shared_ptr<Message> last_ = std::make_shared<Message>();
    FileOperationNotice::node_type stage_;
    platform::PreparedCall delivery_;
};

// Value by value, for the reason at contextOf.
void fill(FileOperationNotice& notice, const FileOperationReport& report,
          const FileOperationNotice& info) {
    notice["stage"] = static_cast<long>(report.stage);
    for (const auto& [key, value] : info)
        std::visit([&entry = notice[key]](const auto& content) { entry = content; }, value);
    if (report.stage == FileOperationStage::Running && report.status)
        for (const auto& [key, value] : *report.status) notice[key] = value;
}

// Queued, so that the delegate is called after the platform's callback has returned.
void send(const Event& event, const FileOperationReport& report, const FileOperationNotice& info) {
    const auto message = std::make_shared<Message>();
    if (!message->address(event, delegateOf(info), report.operation)) return;
    fill(message->notice, report, info);
    if (&event == &kFinished) message->setEnd(report);
    platform::current().mainThread->performOnMainThread(deliveryOf(message),
                                                        platform::WaitUntilDone::No);
}

// Removes the operation from the run loop.
void unschedule(const FileOperationRef& operation) try {
    const std::int32_t status = platform::current().fileOperations->unschedule(operation);
    if (status != 0)
        reportOnConsole(formatted("Failed to unschedule operation from run loop: %d", int{status}));
} catch (const std::exception& exception) {
    reportCaught(exception, kStatusCallback);
}

// As statusCallback, for a copy with a Context.
void callBack(const FileOperationReport& report, Context& context) {
    if (report.stage != FileOperationStage::Complete || !context.isPrepared())
        return statusCallback(report, &context.info());
    const FileOperationRef operation = report.operation;
    try {
        context.sendFinished(report);
    } catch (const std::exception& exception) {
        reportCaught(exception, kStatusCallback);
    }
    unschedule(operation);
}

// True if the folder exists in the end.
bool makeParent(const std::string& source, const OptionalPath& parent) {
    if (KXFileManager::fileExistsAtPath(parent) ||
        KXFileManager::createDirectory(parent, kLongestCreation))
        return true;
    reportOnConsole(
        formatted("Unable to copy file %@ - destination directory %@ doesn't exist. Aborting copy "
                  "process...",
                  source, parent));
    return false;
}

// Kept for compatibility: an operation that could not be scheduled is never released.
void keepUntilExit(FileOperationRef operation) {
    static std::mutex mutex;
    static auto* const kept = new std::vector<FileOperationRef>;
    const std::lock_guard lock(mutex);
    kept->push_back(std::move(operation));
}

// Starts the copy and releases the operation; the platform keeps it while it is scheduled.
bool start(FileOperationRef operation, const std::string& source, FileOperationNotice info,
           const std::string& parent, const std::string& name) {
    const auto context = std::make_shared<Context>(std::move(info));
    const std::int32_t status = platform::current().fileOperations->copy(
        operation, source, parent, name,
        [context](const FileOperationReport& report) { callBack(report, *context); },
        kStatusInterval);
    // Before a failure is reported.
    operation = nullptr;
    if (noteStatus(status)) return true;
    reportOnConsole(formatted("Failed to begin asynchronous object copy: %ld", long{status}));
    return false;
}

}  // namespace

bool KXFileManager::copyFileWithProgress(const OptionalPath& path, const OptionalPath& destination,
                                         FileOperationDelegateRef delegate, CallerObject object) {
    return perform(
        {"+[KXFileManager copyFileWithProgress:destination:delegate:object:]", path, destination},
        false, [&] {
            return copyFileWithProgress(path, destination, std::move(delegate), std::move(object),
                                        nullptr);
        });
}

bool KXFileManager::copyFileWithProgress(const OptionalPath& path, const OptionalPath& destination,
                                         FileOperationDelegateRef delegate, CallerObject object,
                                         CallerObject object2) {
    return perform({kCopyFileWithProgress, path, destination}, false, [&] {
        if (!fileExistsAtPath(path)) {
            reportOnConsole(
                formatted("Error: File %@ doesn't exist. Aborting copy process...", path));
            return noteFailure(KXFailure::Reason::MissingItem);
        }
        const OptionalPath parent =
            destination ? OptionalPath(parentFolder(*destination)) : std::nullopt;
        if (!makeParent(*path, parent)) return false;
        platform::FileOperations& operations = *platform::current().fileOperations;
        FileOperationRef operation = operations.create();
        const std::int32_t status = operations.schedule(operation);
        if (!noteStatus(status)) {
            reportOnConsole(
                formatted("Failed to schedule operation with run loop: %ld", long{status}));
            keepUntilExit(std::move(operation));
            return false;
        }
        const std::string target = destination.value_or("");
        return start(
            std::move(operation), *path,
            contextOf(*path, target, std::move(delegate), std::move(object), std::move(object2)),
            parent.value_or(""), lastPathComponent(target));
    });
}

void statusCallback(const FileOperationReport& report, const FileOperationNotice* info) {
    const FileOperationRef operation = report.operation;
    const bool isComplete = report.stage == FileOperationStage::Complete;
    const bool hasStatus = report.stage == FileOperationStage::Running && report.status;
    try {
        // A running copy without counts has nothing to report yet.
        if (info != nullptr && (isComplete || hasStatus))
            send(isComplete ? kFinished : kProgress, report, *info);
    } catch (const std::exception& exception) {
        reportCaught(exception, kStatusCallback);
    }
    if (isComplete) unschedule(operation);
}

void KXFileManager::cancelFileOperation(const platform::FileOperationRef& operation) {
    perform({"+[KXFileManager cancelFileOperation:]"}, [&] {
        if (operation != nullptr) platform::current().fileOperations->cancel(operation);
    });
}

}  // namespace quillmoor
