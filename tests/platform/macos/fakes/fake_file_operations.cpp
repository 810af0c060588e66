#include "tests/platform/macos/fakes/fake_file_operations.h"

#include "tests/platform/macos/fakes/fake_core_foundation.h"

namespace quillmoor::test {
namespace {

FakeFileOperations* current = nullptr;

std::string on(CFRunLoopRef runLoop, CFStringRef mode) {
    return " " + FakeObjects::textOf(runLoop) + ", " + FakeObjects::textOf(mode);
}

}  // namespace

FakeFileOperations::FakeFileOperations() {
    current = this;
}
FakeFileOperations::~FakeFileOperations() {
    current = nullptr;
}

void FakeFileOperations::report(FSFileOperationStage stage, OSStatus error, const char* item,
                                const std::map<std::string, double>& status) {
    CFDictionaryRef dictionary = nullptr;
    if (!status.empty()) {
        std::map<std::string, CFTypeRef> entries{
            {"not a number", FakeObjects::makeString("a text")}};
        for (const auto& [key, number] : status) entries[key] = FakeObjects::makeNumber(number);
        dictionary = FakeObjects::makeDictionary(entries);
    }
    callback(last, item, stage, error, dictionary, context.info);
    if (dictionary != nullptr) CFRelease(dictionary);
}

void FakeFileOperations::releaseClient() {
    if (retains == 0) return;
    --retains;
    context.release(context.info);
}

}  // namespace quillmoor::test

using quillmoor::test::current;
using quillmoor::test::FakeObjects;

extern "C" {

// Two of the system's seven, with texts that are not their names.
const CFStringRef kFSOperationBytesCompleteKey = FakeObjects::makeString("Bytes Complete");
const CFStringRef kFSOperationThroughputKey = FakeObjects::makeString("Throughput");

FSFileOperationRef FSFileOperationCreate(CFAllocatorRef) {
    if (current == nullptr) return nullptr;
    current->calls.emplace_back("create");
    auto* const fake = current;
    // An operation without an owner releases its client.
    const CFTypeRef made = FakeObjects::makeOther("an operation", [fake] {
        if (fake == current) fake->releaseClient();
    });
    current->last = static_cast<FSFileOperationRef>(const_cast<void*>(made));
    return current->last;
}

OSStatus FSFileOperationScheduleWithRunLoop(FSFileOperationRef operation, CFRunLoopRef runLoop,
                                            CFStringRef mode) {
    if (current == nullptr) return -50;
    current->calls.push_back("schedule" + quillmoor::test::on(runLoop, mode));
    if (current->scheduled == 0) CFRetain(operation);
    return current->scheduled;
}

OSStatus FSFileOperationUnscheduleFromRunLoop(FSFileOperationRef operation, CFRunLoopRef runLoop,
                                              CFStringRef mode) {
    if (current == nullptr) return -50;
    current->calls.push_back("unschedule" + quillmoor::test::on(runLoop, mode));
    if (current->unscheduled == 0) CFRelease(operation);
    return current->unscheduled;
}

OSStatus FSPathCopyObjectAsync(FSFileOperationRef operation, const char* source, const char* folder,
                               CFStringRef name, OptionBits options,
                               FSPathFileOperationStatusProcPtr callback, CFTimeInterval interval,
                               FSFileOperationClientContext* context) {
    if (current == nullptr || operation != current->last) return -50;
    current->calls.emplace_back("copy");
    current->copies.push_back(
        {source, folder, FakeObjects::textOf(name), options, interval, context->version});
    if (current->started != 0) return current->started;
    current->callback = callback;
    current->context = *context;
    context->retain(context->info);
    ++current->retains;
    return 0;
}

OSStatus FSFileOperationCancel(FSFileOperationRef operation) {
    if (current == nullptr || operation != current->last) return -50;
    current->calls.emplace_back("cancel");
    return current->cancelled;
}
}
