#include "quillmoor/platform/trash.h"

#include "quillmoor/platform/macos/ground/cocoa_calls_macos.h"
#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/macos/ground/obsolete_workspace_macos.h"
#include "quillmoor/platform/macos/trash/trash_folder_macos.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace macos {
namespace {

bool isOneName(const std::string& name) {
    return name != "." && name != ".." && name.find('/') == std::string::npos;
}

// The name of the operation is as obsolete as the method; nil where the system lacks it.
NSString* recycleOperation() {
    auto* const name = static_cast<NSString* const*>(findCall("NSWorkspaceRecycleOperation"));
    return name != nullptr ? *name : nil;
}

bool recycleOne(NSString* source, NSString* destination, const std::string& name) {
    NSString* const item = cocoaPath(name);
    NSString* const recycle = recycleOperation();
    if (item == nil || recycle == nil || !isOneName(name)) return false;
    const id<KXObsoleteWorkspace> workspace =
        workspaceWith(@selector(performFileOperation:source:destination:files:tag:));
    return [workspace performFileOperation:recycle
                                    source:source
                               destination:destination
                                     files:[NSArray arrayWithObject:item]
                                       tag:nullptr];
}

class MacTrash : public Trash {
  public:
    // One call for each item: the system's stops at the first that it cannot move.
    RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                           const StringList& names) override {
        return fromCocoa([&]() -> RecycleOutcome {
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
        });
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
