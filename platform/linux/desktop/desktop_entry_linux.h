// Desktop entries: the files by which a desktop knows its applications.
#pragma once

#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

struct DesktopEntry {
    bool isApplication = false;
    bool isHidden = false;  // the user's way to say that it is not installed
    OptionalString tryExec;
    OptionalString exec;
};

// The group [Desktop Entry] of `text`, the values' own escapes taken off. What is missing stays as
// it is above.
DesktopEntry parseDesktopEntry(std::string_view text);

// The first word of an Exec value, its quotes taken off; nil when there is none or a quote is open.
OptionalString programInExec(std::string_view exec);

}  // namespace quillmoor::platform::linux_
