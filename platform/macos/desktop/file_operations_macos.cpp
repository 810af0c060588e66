#include "quillmoor/platform/file_operations.h"

#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "quillmoor/platform/macos/desktop/carbon_calls_macos.h"
#include "quillmoor/platform/macos/ground/core_foundation_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/file_operations_posix.h"

namespace quillmoor::platform {
namespace macos {
namespace {

constexpr std::int32_t kParameterError = -50;
constexpr std::int32_t kNoMemory = -108;

using Operation = CFOwned<FSFileOperationRef>;

Operation retained(FSFileOperationRef operation) {
    if (operation != nullptr) ::CFRetain(operation);
    return Operation(operation);
}

// The system's operation. This owns it until the copy has been started; from then on the system
// does, until end().
class MacFileOperation final : public FileOperation {
  public:
    explicit MacFileOperation(Operation made) : operation_(made.get()), own_(std::move(made)) {}

    // Null when the operation has ended.
    Operation get() {
        const std::lock_guard lock(mutex_);
        return retained(operation_);
    }
    void leaveToSystem() {
        const std::lock_guard lock(mutex_);
        const Operation released(std::move(own_));
    }
    void end() {
        const std::lock_guard lock(mutex_);
        operation_ = nullptr;
    }

  private:
    std::mutex mutex_;
    FSFileOperationRef operation_;
    Operation own_;
};

// What the system passes to the callback. It retains and releases this by the functions below, at
// the latest when the operation ceases to exist.
struct CopyContext {
    CopyContext(std::shared_ptr<MacFileOperation> copying, FileOperationCallback whenChanged)
        : operation(std::move(copying)), callback(std::move(whenChanged)) {}
    ~CopyContext() { operation->end(); }
    CopyContext(const CopyContext&) = delete;
    CopyContext& operator=(const CopyContext&) = delete;

    const std::shared_ptr<MacFileOperation> operation;
    FileOperationCallback callback;
    std::atomic<int> owners{1};
};

const void* retainContext(const void* info) {
    static_cast<CopyContext*>(const_cast<void*>(info))->owners.fetch_add(1);
    return info;
}

void releaseContext(const void* info) {
    auto* const context = static_cast<CopyContext*>(const_cast<void*>(info));
    if (context->owners.fetch_sub(1) == 1) delete context;
}

constexpr const char* kCounts[] = {kFSOperationTotalBytesKey,      kFSOperationBytesCompleteKey,
                                   kFSOperationBytesRemainingKey,  kFSOperationTotalObjectsKey,
                                   kFSOperationObjectsCompleteKey, kFSOperationObjectsRemainingKey,
                                   kFSOperationThroughputKey};

// The system's constants have these names; their texts, which are its keys, may be others.
void addUnderTheirNames(FileOperationStatus& numbers) {
    for (const char* const name : kCounts) {
        const auto* const constant = static_cast<const CFStringRef*>(findCall(name));
        const OptionalString key = constant != nullptr ? textOf(*constant) : std::nullopt;
        const auto found = key ? numbers.find(*key) : numbers.end();
        if (found != numbers.end()) numbers[name] = found->second;
    }
}

// The numbers in it, all under the system's own keys, and those that the library has names for also
// under these.
FileOperationStatus numbersIn(CFDictionaryRef dictionary) {
    const auto count = static_cast<std::size_t>(::CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    ::CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    FileOperationStatus numbers;
    for (std::size_t i = 0; i < count; ++i) {
        double number = 0;
        if (::CFGetTypeID(keys[i]) != ::CFStringGetTypeID() ||
            ::CFGetTypeID(values[i]) != ::CFNumberGetTypeID() ||
            !::CFNumberGetValue(static_cast<CFNumberRef>(values[i]), kCFNumberDoubleType, &number))
            continue;
        if (const OptionalString key = textOf(static_cast<CFStringRef>(keys[i])))
            numbers[*key] = number;
    }
    addUnderTheirNames(numbers);
    return numbers;
}

// The last report is sent also without memory for its details; any other is left out then.
void send(CopyContext& context, const char* item, FSFileOperationStage stage, OSStatus error,
          CFDictionaryRef status) {
    FileOperationReport report;
    report.operation = context.operation;
    report.stage = static_cast<FileOperationStage>(stage);
    report.error = error;
    try {
        if (item != nullptr) report.currentItem = item;
        if (status != nullptr) report.status = numbersIn(status);
    } catch (const std::bad_alloc&) {
        if (report.stage != FileOperationStage::Complete) return;
    }
    context.callback(report);
}

// Called by the system on the main thread.
void statusChanged(FSFileOperationRef operation, const char* item, FSFileOperationStage stage,
                   OSStatus error, CFDictionaryRef status, void* info) {
    // For the last report the callback unschedules the operation, which nothing else need keep.
    const Operation kept = retained(operation);
    auto* const context = static_cast<CopyContext*>(const_cast<void*>(retainContext(info)));
    try {
        if (context->callback) send(*context, item, stage, error, status);
    } catch (...) {
        // Nothing may be thrown into the system's frames, also none of Cocoa's exceptions. The
        // library's own callback reports what happens in it.
    }
    if (stage == kFSOperationStageComplete) {
        context->operation->end();
        context->callback = nullptr;
    }
    releaseContext(context);
}

bool hasNul(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

bool isOneName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           !hasNul(name);
}

// All or none: the operations of one kind are nothing to the other.
struct Calls {
    CreateOperation create = lateCall<CreateOperation>(kCreateOperation);
    ScheduleOperation schedule = lateCall<ScheduleOperation>(kScheduleOperation);
    ScheduleOperation unschedule = lateCall<ScheduleOperation>(kUnscheduleOperation);
    CopyObject copy = lateCall<CopyObject>(kCopyObject);
    CancelOperation cancel = lateCall<CancelOperation>(kCancelOperation);

    bool areThere() const {
        return create != nullptr && schedule != nullptr && unschedule != nullptr &&
               copy != nullptr && cancel != nullptr;
    }
};

std::shared_ptr<MacFileOperation> own(const FileOperationRef& operation) {
    return std::dynamic_pointer_cast<MacFileOperation>(operation);
}

// The engine that the systems share makes the copies where the system has no such calls.
class MacFileOperations final : public FileOperations {
  public:
    FileOperationRef create() override {
        const Calls calls;
        Operation made(calls.areThere() ? calls.create(kCFAllocatorDefault) : nullptr);
        if (!made) return shared().create();
        return std::make_shared<MacFileOperation>(std::move(made));
    }

    std::int32_t schedule(const FileOperationRef& operation) override {
        const auto ours = own(operation);
        if (ours == nullptr) return shared().schedule(operation);
        const Operation system = ours->get();
        return system ? Calls().schedule(system.get(), ::CFRunLoopGetMain(), kCFRunLoopDefaultMode)
                      : kParameterError;
    }

    // From the current run loop: it is called on the main thread, for the last report.
    std::int32_t unschedule(const FileOperationRef& operation) override {
        const auto ours = own(operation);
        if (ours == nullptr) return shared().unschedule(operation);
        const Operation system = ours->get();
        return system ? Calls().unschedule(system.get(), ::CFRunLoopGetCurrent(),
                                           kCFRunLoopDefaultMode)
                      : kParameterError;
    }

    std::int32_t copy(const FileOperationRef& operation, const std::string& source,
                      const std::string& folder, const std::string& name,
                      FileOperationCallback callback, std::chrono::milliseconds interval) override {
        const auto ours = own(operation);
        if (ours == nullptr)
            return shared().copy(operation, source, folder, name, std::move(callback), interval);
        const Operation system = ours->get();
        const CFOwned<CFStringRef> newName = stringOf(name);
        if (!system || !newName || !isOneName(name) || hasNul(source) || hasNul(folder))
            return kParameterError;
        auto* const context = new (std::nothrow) CopyContext(ours, std::move(callback));
        if (context == nullptr) return kNoMemory;
        FSFileOperationClientContext client{0, context, &retainContext, &releaseContext, nullptr};
        const OSStatus status =
            Calls().copy(system.get(), source.c_str(), folder.c_str(), newName.get(),
                         kFSFileOperationDefaultOptions, &statusChanged,
                         std::chrono::duration<CFTimeInterval>(interval).count(), &client);
        if (status == 0) ours->leaveToSystem();
        releaseContext(context);
        return status;
    }

    std::int32_t cancel(const FileOperationRef& operation) override {
        const auto ours = own(operation);
        if (ours == nullptr) return shared().cancel(operation);
        const Operation system = ours->get();
        return system ? Calls().cancel(system.get()) : 0;
    }

  private:
    static FileOperations& shared() { return *posix::sharedFileOperations(); }
};

}  // namespace
}  // namespace macos

FileOperations* nativeFileOperations() {
    static auto* const operations = new macos::MacFileOperations;
    return operations;
}

}  // namespace quillmoor::platform
