// Removing the product by its own uninstaller.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::version_check {

enum class RemovalOutcome {
    Opened,       // the uninstaller was started, and asks its user
    Removed,      // the product is gone
    Left,         // the uninstaller has ended, and something is left of the product
    TimedOut,     // the uninstaller was sent SIGTERM; it may have moved something
    Interrupted,  // the same, by the user; or it was not started
    NotUnpacked,
    NotStarted,
};

struct Removal {
    RemovalOutcome outcome;
    // Where the uninstaller is, if it was kept: opened, or still running after SIGTERM.
    OptionalPath uninstaller;
    // Why it was not unpacked or not started, where that is known.
    OptionalString reason{};
};

struct Patience {
    std::chrono::seconds timeout;
    std::chrono::seconds grace{5};        // after SIGTERM
    std::function<bool()> isInterrupted;  // asked about fifty times a second, on the main thread
    // What the uninstaller is to ignore as well, as the shell's trap names them: "INT HUP".
    std::string ignoredSignals;
};

// Receives a line that the uninstaller prints, without its end, on another thread.
using LineSink = std::function<void(const std::string& line)>;

// Both unpack the archive into a new folder of the user's own in the temporary folder, and are
// called on the main thread. The unpacking itself has no limit of time; who was interrupted
// meanwhile starts nothing. Throw std::runtime_error when the folder cannot be made.

// Opens the uninstaller and does not wait. The folder is kept, as the uninstaller runs from there.
Removal openUninstaller(const std::string& archive, const std::function<bool()>& isInterrupted);

// Runs the uninstaller with the option --unattended and waits for its end as long as `patience`
// allows, from the call on; then it is sent SIGTERM and waited for once more. The folder is
// removed, unless the uninstaller still runs. Standard error is the program's own.
Removal runUninstaller(const std::string& archive, const Patience& patience, const LineSink& sink);

}  // namespace quillmoor::version_check
