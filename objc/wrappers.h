// Objects of Cocoa that forward to an object of the library, which has one such wrapper at a time,
// so that callers may compare them. A wrapper keeps what it wraps alive, and is not kept.
//
//   - (oneway void)release {
//       const auto last = wrappers().beginRelease(self, _task.get());
//       [super release];
//   }
#pragma once

#import <Foundation/Foundation.h>

#include <map>
#include <mutex>

namespace quillmoor::objc {

// May be used from any thread.
class Wrappers {
  public:
    // The wrapper of `wrapped`, autoreleased. `make` returns a new one, retained, if there is none.
    template <typename Make>
    id wrapperOf(const void* wrapped, const Make& make) {
        const std::lock_guard guard(lock_);
        id& wrapper = known_[wrapped];
        if (wrapper == nil)
            wrapper = make();
        else
            [wrapper retain];
        return [wrapper autorelease];
    }

    // To be kept during each release of a wrapper: no other thread may find it while it is
    // deallocated.
    [[nodiscard]] std::unique_lock<std::recursive_mutex> beginRelease(id wrapper,
                                                                      const void* wrapped) {
        std::unique_lock guard(lock_);
        if ([wrapper retainCount] == 1) known_.erase(wrapped);
        return guard;
    }

  private:
    // What is wrapped may be destroyed under the lock, and have wrappers itself.
    std::recursive_mutex lock_;
    std::map<const void*, id> known_;  // not retained
};

}  // namespace quillmoor::objc
