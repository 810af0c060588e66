// Whether the product is on this computer, and which version.
#pragma once

#include "quillmoor/base/types.h"

namespace quillmoor::version_check {

// The values are the command's exit statuses.
enum class State {
    Absent = 0,
    Older = 3,  // than the version that is compared with
    Same = 4,
    Newer = 5,
    Installed = 6,  // nothing to compare with, or the product's own version is unknown
};

struct Product {
    State state = State::Absent;
    OptionalPath path;       // nil when it is absent
    OptionalString version;  // nil when it is unknown
};

// Looks for the product as the pane does. Its version is CFBundleShortVersionString of its
// information dictionary, else CFBundleVersion. `comparedWith` must be a version number where it is
// given.
Product findProduct(const OptionalString& comparedWith);

}  // namespace quillmoor::version_check
