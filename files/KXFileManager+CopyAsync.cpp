#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "base/format.h"
#include "base/paths.h"
#include "files/KXFileManager.h"
#include "files/item.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using platform::FileOperationRef;
using platform::FileOperationReport;
using platform::FileOperationStage;
using Notice = FileOperationDelegate::Notice;

constexpr std::chrono::seconds kLongestCreation{10};
constexpr std::chrono::milliseconds kStatusInterval{1000};

void tell(const std::string& text) {
    platform::current().console->log(text);
}

using Context = std::shared_ptr<const FileOperationNotice>;

// Shared and filled in place: to copy a variant with a text in it ends the process where memory
// runs out meanwhile (libstdc++ 12).
Context contextOf(const std::string& source, const std::string& destination,
                  FileOperationDelegateRef delegate, CallerObject object, CallerObject object2) {
    auto context = std::make_shared<FileOperationNotice>();
    (*context)["source"] = source;
    (*context)["destination"] = destination;
    (*context)["operationtype"] = std::string("copy");
    if (delegate != nullptr) (*context)["delegate"] = std::move(delegate);
    if (object != nullptr) (*context)["object"] = std::move(object);
    if (object2 != nullptr) (*context)["object2"] = std::move(object2);
    return context;
}

FileOperationDelegateRef delegateOf(const FileOperationNotice* info) {
    if (info == nullptr) return nullptr;
    const auto found = info->find("delegate");
    if (found == info->end()) return nullptr;
    const auto* delegate = std::get_if<FileOperationDelegateRef>(&found->second);
    return delegate != nullptr ? *delegate : nullptr;
}

// One event, in its form with the operation and in the one without.
struct Event {
    using Plain = void (FileOperationDelegate::*)(const FileOperationNotice&);
    using WithOperation = void (FileOperationDelegate::*)(const FileOperationNotice&,
                                                          const FileOperationRef&);
    Notice plain;
    Plain tellPlain;
    Notice withOperation;
    WithOperation tellWithOperation;
};

const Event kProgress{Notice::Progress, &FileOperationDelegate::fileOperationProgress,
                      Notice::ProgressWithOperation, &FileOperationDelegate::fileOperationProgress};
const Event kFinished{Notice::Finished, &FileOperationDelegate::fileOperationFinished,
                      Notice::FinishedWithOperation, &FileOperationDelegate::fileOperationFinished};

// Queued: it runs after the callback has returned.
void send(const Event& event, const FileOperationDelegateRef& delegate, FileOperationNotice notice,
          const FileOperationRef& operation) {
    if (delegate == nullptr) return;
    std::function<void()> call;
    if (delegate->implements(event.withOperation))
        call = [delegate, &event, notice = std::move(notice), operation] {
            ((*delegate).*event.tellWithOperation)(notice, operation);
        };
    else if (delegate->implements(event.plain))
        call = [delegate, &event, notice = std::move(notice)] {
            ((*delegate).*event.tellPlain)(notice);
        };
    else
        return;
    platform::current().mainThread->performOnMainThread(std::move(call),
                                                        platform::WaitUntilDone::No);
}

FileOperationNotice noticeOf(const FileOperationReport& report, const FileOperationNotice* info) {
    FileOperationNotice notice = info != nullptr ? *info : FileOperationNotice{};
    notice.emplace("stage", static_cast<long>(report.stage));
    if (report.stage == FileOperationStage::Running && report.status)
        for (const auto& [key, value] : *report.status) notice[key] = value;
    return notice;
}

bool makeParent(const std::string& source, const OptionalPath& parent) {
    if (KXFileManager::fileExistsAtPath(parent) ||
        KXFileManager::createDirectory(parent, kLongestCreation))
        return true;
    tell(
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

// Releases the operation once it has been started: the platform keeps it while it is scheduled.
bool start(FileOperationRef operation, const std::string& source, const Context& context,
           const std::string& parent, const std::string& name) {
    const std::int32_t status = platform::current().fileOperations->copy(
        operation, source, parent, name,
        [context](const FileOperationReport& report) { statusCallback(report, context.get()); },
        kStatusInterval);
    operation = nullptr;
    if (status == 0) return true;
    tell(formatted("Failed to begin asynchronous object copy: %ld", long{status}));
    return false;
}

}  // namespace

bool KXFileManager::copyFileWithProgress(const OptionalPath& path, const OptionalPath& destination,
                                         FileOperationDelegateRef delegate,
                                         CallerObject object) try {
    return copyFileWithProgress(path, destination, std::move(delegate), std::move(object), nullptr);
} catch (const std::exception& exception) {
    return afterException(
        exception, "+[KXFileManager copyFileWithProgress:destination:delegate:object:]", false);
}

bool KXFileManager::copyFileWithProgress(const OptionalPath& path, const OptionalPath& destination,
                                         FileOperationDelegateRef delegate, CallerObject object,
                                         CallerObject object2) try {
    if (!fileExistsAtPath(path)) {
        tell(formatted("Error: File %@ doesn't exist. Aborting copy process...", path));
        return false;
    }
    const OptionalPath parent =
        destination ? OptionalPath(parentFolder(*destination)) : std::nullopt;
    if (!makeParent(*path, parent)) return false;
    platform::FileOperations& operations = *platform::current().fileOperations;
    FileOperationRef operation = operations.create();
    const std::int32_t status = operations.schedule(operation);
    if (status != 0) {
        tell(formatted("Failed to schedule operation with run loop: %ld", long{status}));
        keepUntilExit(std::move(operation));
        return false;
    }
    const std::string target = destination.value_or("");
    return start(
        std::move(operation), *path,
        contextOf(*path, target, std::move(delegate), std::move(object), std::move(object2)),
        parent.value_or(""), lastPathComponent(target));
} catch (const std::exception& exception) {
    return afterException(
        exception, "+[KXFileManager copyFileWithProgress:destination:delegate:object:object2:]",
        false);
}

void statusCallback(const FileOperationReport& report, const FileOperationNotice* info) {
    const FileOperationRef operation = report.operation;
    const FileOperationDelegateRef delegate = delegateOf(info);
    if (report.stage == FileOperationStage::Running && report.status)
        send(kProgress, delegate, noticeOf(report, info), operation);
    if (report.stage != FileOperationStage::Complete) return;
    send(kFinished, delegate, noticeOf(report, info), operation);
    const std::int32_t status = platform::current().fileOperations->unschedule(operation);
    if (status != 0)
        tell(formatted("Failed to unschedule operation from run loop: %d", int{status}));
}

void KXFileManager::cancelFileOperation(const platform::FileOperationRef& operation) try {
    if (operation != nullptr) platform::current().fileOperations->cancel(operation);
} catch (const std::exception& exception) {
    reportCaught(exception, "+[KXFileManager cancelFileOperation:]");
}

}  // namespace quillmoor
