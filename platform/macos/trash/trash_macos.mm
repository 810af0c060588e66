#include "quillmoor/platform/trash.h"

#import <AppKit/AppKit.h>

#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/macos/trash/trash_folder_macos.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace macos {
namespace {

bool isOneName(const std::string& name) {
    return name != "." && name != ".." && name.find('/') == std::string::npos;
}

// The system has declared the operation obsolete, and may lack it one day; nil then.
NSString* recycleOperation() {
    auto* const name = static_cast<NSString**>(findCall("NSWorkspaceRecycleOperation"));
    return name != nullptr ? *name : nil;
}

// What is to be called instead takes a block, and does not say where the Trash is.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
bool recycleOne(NSString* source, NSString* destination, const std::string& name) {
    NSString* const item = cocoaPath(name);
    NSString* const operation = recycleOperation();
    if (item == nil || operation == nil || !isOneName(name)) return false;
    return [[NSWorkspace sharedWorkspace] performFileOperation:operation
                                                        source:source
                                                   destination:destination
                                                         files:[NSArray arrayWithObject:item]
                                                           tag:nullptr];
}
#pragma GCC diagnostic pop

class MacTrash : public Trash {
  public:
    // One call for each item: the system's stops at the first that it cannot move.
    RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                           const StringList& names) override {
        @autoreleasepool {
            NSString* const folder = source.empty()
                                         ? [[NSFileManager defaultManager] currentDirectoryPath]
                                         : cocoaPath(source);
            NSString* const trash = destination ? cocoaPath(*destination) : @"";
            RecycleOutcome outcome;
            outcome.allMoved = names.empty() || (folder != nil && trash != nil);
            if (!outcome.allMoved) return outcome;
            for (const std::string& name : names)
                outcome.allMoved = recycleOne(folder, trash, name) && outcome.allMoved;
            return outcome;
        }
    }

    bool prepareTrash(const std::string& destination) override {
        return prepareTrashFolder(destination);
    }

    // The system has no call that records where an item was.
    bool recordPendingTrash(const std::string&, const std::string&, const std::string&) override {
        return false;
    }
    void discardTrashRecord(const std::string&, const std::string&) override {}
};

}  // namespace
}  // namespace macos

Trash* nativeTrash() {
    static auto* const trash = new macos::MacTrash;
    return trash;
}

}  // namespace quillmoor::platform
