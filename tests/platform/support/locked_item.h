// An item with the system's own locked flag.
#pragma once

#include <cerrno>
#include <string>
#include <utility>

#include "quillmoor/platform/attributes.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor::test {

// Locks an item for as long as this lives.
class LockedItem {
  public:
    explicit LockedItem(std::string path)
        : path_(std::move(path)),
          outcome_(platform::native().attributes->setImmutable(path_, true)) {}
    ~LockedItem() {
        static_cast<void>(bool(platform::native().attributes->setImmutable(path_, false)));
    }
    LockedItem(const LockedItem&) = delete;
    LockedItem& operator=(const LockedItem&) = delete;

    const Outcome& outcome() const { return outcome_; }
    // The reason why an item cannot be locked here at all; empty when it can.
    std::string excuse() const {
        if (outcome_) return "";
        const int code = outcome_.error().code;
        const bool known = code == EPERM || code == ENOTTY || code == EOPNOTSUPP;
        return known ? outcome_.error().description : "";
    }

  private:
    std::string path_;
    Outcome outcome_;
};

}  // namespace quillmoor::test
