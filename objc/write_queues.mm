#include "objc/write_queues.h"

#include <map>
#include <mutex>

#import "objc/KXLog.h"
#include "objc/bridge.h"

using namespace quillmoor::objc;
using quillmoor::WriteQueue;

@interface KXLibraryWriteQueue : NSOperationQueue {
  @public
    WriteQueue* _queue;
}
@end

@implementation KXLibraryWriteQueue

- (NSUInteger)operationCount {
    return _queue->operationCount() + [super operationCount];
}

- (void)waitUntilAllOperationsAreFinished {
    raising([&] { _queue->waitUntilAllOperationsAreFinished(); });
    [super waitUntilAllOperationsAreFinished];
}

@end

namespace {

// Queues are never destroyed, and neither are their wrappers.
std::map<WriteQueue*, NSOperationQueue*>& known() {
    static auto* const known = new std::map<WriteQueue*, NSOperationQueue*>;
    return *known;
}

std::mutex& lock() {
    static auto* const lock = new std::mutex;
    return *lock;
}

NSOperationQueue* makeWrapper(WriteQueue* queue) {
    KXLibraryWriteQueue* wrapper = [[KXLibraryWriteQueue alloc] init];
    wrapper->_queue = queue;
    [wrapper setMaxConcurrentOperationCount:1];
    return wrapper;
}

// On the worker of the queue that was made for `queue`.
void write(NSOperationQueue* queue, std::string_view text) {
    perform("-[KXLog appendLogOnThread:]", [&] {
        throwing([&] {
            NSOperation* operation =
                [[[NSInvocationOperation alloc] initWithTarget:[KXLog sharedController]
                                                      selector:@selector(appendLogOnThread:)
                                                        object:fromString(text)] autorelease];
            [queue addOperation:operation];
            [operation waitUntilFinished];
        });
    });
}

}  // namespace

namespace quillmoor::objc {

NSOperationQueue* fromWriteQueue(WriteQueue* queue) {
    if (queue == nullptr) return nil;
    const std::lock_guard guard(lock());
    NSOperationQueue*& object = known()[queue];
    if (object == nil) object = makeWrapper(queue);
    return object;
}

WriteQueue* toWriteQueue(NSOperationQueue* queue) {
    if (queue == nil) return nullptr;
    const std::lock_guard guard(lock());
    for (const auto& [known, object] : known())
        if (object == queue) return known;
    WriteQueue* const made =
        WriteQueue::create([queue](std::string_view text) { write(queue, text); });
    known()[made] = [queue retain];
    return made;
}

}  // namespace quillmoor::objc
