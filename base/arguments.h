// Argument lists.
#pragma once

#include <initializer_list>

#include "quillmoor/base/types.h"

namespace quillmoor {

// The values before the first nil: an argument list ends there.
inline StringList upToFirstNil(std::initializer_list<OptionalString> values) {
    StringList list;
    for (const OptionalString& value : values) {
        if (!value) break;
        list.push_back(*value);
    }
    return list;
}

}  // namespace quillmoor
