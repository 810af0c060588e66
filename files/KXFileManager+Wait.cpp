#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/log/KXException.h"
#include "quillmoor/log/KXLog.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using TimePoint = std::chrono::system_clock::time_point;
// Not the clock's own unit, in which distant dates and long time-outs overflow.
using Seconds = std::chrono::duration<double>;

// A wait on the main thread looks again after each event, but at least this often; on other threads
// at the longer interval.
constexpr std::chrono::milliseconds kNextEvent{10};
constexpr std::chrono::milliseconds kPause{300};
constexpr std::chrono::microseconds kShortPause{500};
constexpr std::chrono::seconds kSettleTime{4};

platform::Clock& clock() {
    return *platform::current().clock;
}

// The main thread must not sleep: the user interface would not respond. What an event raises is not
// the operation's failure.
void waitAMoment() {
    platform::MainThread& mainThread = *platform::current().mainThread;
    if (!mainThread.isMainThread()) return clock().sleep(kPause);
    const OutsideOperations handlers;
    try {
        mainThread.sendNextEvent(kNextEvent);
    } catch (const platform::Exception& exception) {
        KXException::logException(&exception, "sendNextEvent");
    }
}

std::optional<platform::ItemAttributes> attributesOf(const OptionalPath& path) {
    if (!path) return std::nullopt;
    return platform::current().attributes->attributesOfItem(*path);
}

std::optional<TimePoint> modificationDateOf(const OptionalPath& path) {
    const auto attributes = attributesOf(path);
    if (!attributes) return std::nullopt;
    return attributes->modificationDate;
}

Seconds since(TimePoint date) {
    return Seconds(clock().now().time_since_epoch()) - Seconds(date.time_since_epoch());
}

bool isRecent(TimePoint date) {
    return since(date) <= kSettleTime;
}

// A missing date counts as recent: the file is expected to be created. Kept for compatibility, also
// where the wait then never ends.
bool isSettling(const std::optional<TimePoint>& date) {
    return !date || isRecent(*date);
}

bool isBeingWritten(const OptionalPath& path, const std::optional<TimePoint>& date,
                    const OptionalString& lockFile) {
    if (date && isRecent(*date)) return true;
    if (!lockFile || !path) return false;
    return KXFileManager::fileExistsAtPath(
        // The lock file is beside the file.
        appendPathComponent(deleteLastPathComponent(*path), *lockFile));
}

}  // namespace

bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds timeout) {
    const TimePoint start = clock().now();
    // The condition is evaluated once more at the end: only the final state counts.
    if (!condition()) {
        while (since(start) < timeout) {
            waitAMoment();
            if (condition()) break;
        }
    }
    return condition() || noteFailure(KXFailure::Reason::TimedOut);
}

// One check and one pause, not a loop. Kept for compatibility.
void KXFileManager::waitForFileCreation(const OptionalPath& path, std::chrono::seconds timeout) {
    perform({"+[KXFileManager waitForFileCreation:timeout:]", path}, [&] {
        const TimePoint start = clock().now();
        const auto attributes = fileExistsAtPath(path) ? attributesOf(path) : std::nullopt;
        if (attributes && attributes->size != 0) return;
        if (timeout <= 0s || since(start) > timeout) return;
        KXLog::appendLog("File %@ is not yet created. Waiting...", path);
        clock().sleep(kShortPause);
    });
}

void KXFileManager::waitForFileWrites(const OptionalPath& path) {
    perform({"+[KXFileManager waitForFileWrites:]", path},
            [&] { waitForFileWrites(path, std::nullopt); });
}

void KXFileManager::waitForFileWrites(const OptionalPath& path, const OptionalString& lockFile) {
    perform({"+[KXFileManager waitForFileWrites:lockFile:]", path}, [&] {
        std::optional<TimePoint> date = modificationDateOf(path);
        if (!isBeingWritten(path, date, lockFile)) return;
        KXLog::appendLog("File %@ is currently being written to. Waiting...", path);
        // The lock file only decides whether the wait begins. Kept for compatibility.
        while (isSettling(date)) {
            clock().sleep(kShortPause);
            date = modificationDateOf(path);
        }
        KXLog::appendLog("File %@ finished writing.", path);
    });
}

}  // namespace quillmoor
