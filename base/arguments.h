// Argument lists.
//
//   upToFirstNil({"-xk", archive, folder})   // just -xk when archive is nil, whatever folder is
#pragma once

#include <initializer_list>

#include "quillmoor/base/types.h"

namespace quillmoor {

// The values before the first nil; those after it are left out. A variadic argument list ends at
// its first nil, and callers rely on that: with a nil source a tool is started without source and
// destination, fails, and changes nothing. Empty strings are values. May be called from any thread.
// Throws std::bad_alloc.
inline StringList upToFirstNil(std::initializer_list<OptionalString> values) {
    StringList list;
    for (const OptionalString& value : values) {
        if (!value) break;
        list.push_back(*value);
    }
    return list;
}

}  // namespace quillmoor
