// The log's queue as an NSOperationQueue, in both directions.
#pragma once

#import <Foundation/Foundation.h>

#include "quillmoor/log/WriteQueue.h"

namespace quillmoor::objc {

// The wrapper of the library's queue: it counts the messages and waits for them, one at a time.
// Operations that are added to it run beside the messages. nil for null. The same object each
// time.
NSOperationQueue* fromWriteQueue(WriteQueue* queue);

// A queue of the library whose messages are operations of `queue`, each waited for before the next
// is added; null for nil. Both exist until the process exits.
WriteQueue* toWriteQueue(NSOperationQueue* queue);

}  // namespace quillmoor::objc
