// Items that cannot be removed though every check lets them go: their flags change too late, or a
// server decides otherwise.
#pragma once

#include <cerrno>
#include <string>
#include <utility>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::test {

// As long as this lives, no item of that name can be removed: EPERM. One at a time.
class ResistingItem {
  public:
    explicit ResistingItem(std::string itemName)
        : calls_(platform::posix::systemCalls()), next_(&platform::posix::systemCalls()) {
        name = std::move(itemName);
        next = next_;
        calls_.unlinkat = [](int folder, const char* item, int flags) {
            if (item != name) return next->unlinkat(folder, item, flags);
            errno = EPERM;
            return -1;
        };
        platform::posix::exchangeSystemCalls(&calls_);
    }
    ~ResistingItem() { platform::posix::exchangeSystemCalls(next_); }
    ResistingItem(const ResistingItem&) = delete;
    ResistingItem& operator=(const ResistingItem&) = delete;

  private:
    static inline std::string name;
    static inline const platform::posix::SystemCalls* next = nullptr;
    platform::posix::SystemCalls calls_;
    const platform::posix::SystemCalls* next_;
};

}  // namespace quillmoor::test
