// Desktop entries: the files that describe applications to a desktop.
#pragma once

#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

struct DesktopEntry {
    bool isApplication = false;
    bool isHidden = false;  // to be treated as not installed
    OptionalString tryExec;
    OptionalString exec;
};

// Parses the group [Desktop Entry] of `text` and resolves the escapes of its values. Missing keys
// have the defaults above.
DesktopEntry parseDesktopEntry(std::string_view text);

// The first word of an Exec value, without its quotes; nil when there is none or a quote is open.
OptionalString programInExec(std::string_view exec);

}  // namespace quillmoor::platform::linux_
