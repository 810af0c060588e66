#include "objc/file_operations.h"

#include <map>
#include <mutex>
#include <string>
#include <variant>

#import "objc/KXFileManager.h"
#include "objc/bridge.h"

using namespace quillmoor::objc;
using quillmoor::FileOperationDelegateRef;
using quillmoor::FileOperationNotice;
using quillmoor::platform::FileOperationRef;

// What a delegate is given as the operation. An object, because callers may retain the system's
// own.
@interface KXFileOperation : NSObject {
  @public
    FileOperationRef _operation;
}
@end

@implementation KXFileOperation
@end

namespace {

FSFileOperationRef referenceTo(KXFileOperation* operation) {
    return reinterpret_cast<FSFileOperationRef>(operation);
}

// The references of copies that have not ended. Others may be passed in, and are not looked into.
class LiveReferences {
  public:
    static LiveReferences& shared() {
        static auto* const references = new LiveReferences;
        return *references;
    }
    void add(KXFileOperation* operation) {
        const std::lock_guard guard(lock_);
        operations_[referenceTo(operation)] = operation->_operation;
    }
    void remove(KXFileOperation* operation) {
        const std::lock_guard guard(lock_);
        operations_.erase(referenceTo(operation));
    }
    FileOperationRef find(FSFileOperationRef reference) {
        const std::lock_guard guard(lock_);
        const auto found = operations_.find(reference);
        return found == operations_.end() ? nullptr : found->second.lock();
    }

  private:
    std::mutex lock_;
    std::map<FSFileOperationRef, std::weak_ptr<quillmoor::platform::FileOperation>> operations_;
};

class Delegate : public quillmoor::FileOperationDelegate {
  public:
    explicit Delegate(id object) : object_(toObject(object)) {}
    ~Delegate() override {
        if (operation_ != nil) LiveReferences::shared().remove(operation_);
        [operation_ release];
    }
    Delegate(const Delegate&) = delete;
    Delegate& operator=(const Delegate&) = delete;

    id object() const { return fromObject(object_); }

    bool implements(Notice notice) const override {
        return [static_cast<id>(object_.get()) respondsToSelector:selectorOf(notice)];
    }
    void fileOperationProgress(const FileOperationNotice& notice) override {
        send(Notice::Progress, notice, nullptr);
    }
    void fileOperationProgress(const FileOperationNotice& notice,
                               const FileOperationRef& operation) override {
        send(Notice::ProgressWithOperation, notice, operation);
    }
    void fileOperationFinished(const FileOperationNotice& notice) override {
        send(Notice::Finished, notice, nullptr);
    }
    void fileOperationFinished(const FileOperationNotice& notice,
                               const FileOperationRef& operation) override {
        send(Notice::FinishedWithOperation, notice, operation);
    }

  private:
    static SEL selectorOf(Notice notice) {
        switch (notice) {
            case Notice::Progress:
                return @selector(fileOperationProgress:);
            case Notice::ProgressWithOperation:
                return @selector(fileOperationProgress:fileOperation:);
            case Notice::Finished:
                return @selector(fileOperationFinished:);
            case Notice::FinishedWithOperation:
                return @selector(fileOperationFinished:fileOperation:);
        }
        return nullptr;
    }

    static id valueOf(const FileOperationNotice::mapped_type& value) {
        if (const auto* number = std::get_if<long>(&value))
            return [NSNumber numberWithLong:*number];
        if (const auto* number = std::get_if<double>(&value))
            return [NSNumber numberWithDouble:*number];
        if (const auto* text = std::get_if<std::string>(&value))
            return fromString(std::string_view(*text));
        if (const auto* object = std::get_if<quillmoor::CallerObject>(&value))
            return fromObject(*object);
        const auto* delegate = std::get_if<FileOperationDelegateRef>(&value);
        return dynamic_cast<const Delegate&>(**delegate).object();
    }

    static NSMutableDictionary* dictionaryOf(const FileOperationNotice& notice) {
        NSMutableDictionary* dictionary = [NSMutableDictionary dictionary];
        for (const auto& [key, value] : notice) {
            const id object = valueOf(value);
            if (object != nil)
                [dictionary setObject:object forKey:fromString(std::string_view(key))];
        }
        return dictionary;
    }

    // One for all notices of a copy, so that they can be recognised by it.
    KXFileOperation* operationFor(const FileOperationRef& operation) {
        if (operation_ != nil) return operation_;
        operation_ = [[KXFileOperation alloc] init];
        operation_->_operation = operation;
        LiveReferences::shared().add(operation_);
        return operation_;
    }

    // An exception of the delegate does not reach the run loop, which would end the program.
    void send(Notice notice, const FileOperationNotice& contents,
              const FileOperationRef& operation) {
        perform(sel_getName(selectorOf(notice)),
                [&] { throwing([&] { deliver(notice, dictionaryOf(contents), operation); }); });
    }

    void deliver(Notice notice, NSDictionary* dictionary, const FileOperationRef& operation) {
        const id object = this->object();
        switch (notice) {
            case Notice::Progress:
                return [object fileOperationProgress:dictionary];
            case Notice::ProgressWithOperation:
                return [object fileOperationProgress:dictionary
                                       fileOperation:referenceTo(operationFor(operation))];
            case Notice::Finished:
                return [object fileOperationFinished:dictionary];
            case Notice::FinishedWithOperation:
                return [object fileOperationFinished:dictionary
                                       fileOperation:referenceTo(operationFor(operation))];
        }
    }

    std::shared_ptr<void> object_;
    KXFileOperation* operation_ = nil;
};

}  // namespace

namespace quillmoor::objc {

FileOperationDelegateRef toDelegate(id delegate) {
    return delegate == nil ? nullptr : std::make_shared<Delegate>(delegate);
}

FileOperationRef toOperation(FSFileOperationRef operation) {
    return LiveReferences::shared().find(operation);
}

}  // namespace quillmoor::objc
