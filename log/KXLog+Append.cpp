#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>

#include "quillmoor/base/dates.h"
#include "quillmoor/base/strings.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/log/SpinLock.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

constexpr std::size_t kGenerationBytes = 500'000;

// In 16-bit units. A short message with little queued before it is waited for, so that it is in the
// file if the program dies next; longer ones must not delay their callers.
constexpr std::size_t kShortUnits = 99;

using platform::FileHandle;

// The file that has taken only a part of a line, if any. Shared by all threads: appendLogOnThread
// is public.
class PartialLine {
  public:
    static PartialLine& shared() {
        static auto* const partialLine = new PartialLine;  // never destroyed, like the worker
        return *partialLine;
    }
    bool isIn(const std::shared_ptr<FileHandle>& file) {
        if (!exists_.load(std::memory_order_relaxed)) return false;
        const std::lock_guard guard(lock_);
        return file_.lock() == file;
    }
    void setIn(const std::shared_ptr<FileHandle>& file) {
        const std::lock_guard guard(lock_);
        file_ = file;
        exists_.store(file != nullptr, std::memory_order_relaxed);
    }
    void clear() { setIn(nullptr); }

  private:
    SpinLock lock_;                    // guards the file
    std::atomic<bool> exists_{false};  // spares each line the lock
    std::weak_ptr<FileHandle> file_;   // must not keep a generation open that was replaced
};

// Writes the line of a message, built in memory that is reused. The date is formatted once a
// second.
class LineWriter {
  public:
    // Returns the bytes written. After a line that the file took only in part, as on a full disk,
    // the next begins with a newline, in the same write: two messages never share a line.
    std::size_t write(const std::shared_ptr<FileHandle>& file, std::string_view message) {
        PartialLine& partialLine = PartialLine::shared();
        const bool afterPart = partialLine.isIn(file);
        const std::string_view line = build(message).substr(afterPart ? 0 : 1);
        try {
            file->writeData(line);
        } catch (const platform::WriteFailure& failure) {
            // The newline alone ends the earlier part, and begins none.
            if (failure.written() > (afterPart ? 1 : 0))
                partialLine.setIn(file);
            else if (failure.written() > 0)
                partialLine.clear();
            throw;
        }
        if (afterPart) partialLine.clear();
        const std::size_t written = line.size();
        forgetLongLine();
        return written;
    }

  private:
    // With a newline before it.
    std::string_view build(std::string_view message) {
        const auto now = platform::current().clock->now();
        const auto second = std::chrono::floor<std::chrono::seconds>(now);
        if (second != second_ || line_.empty()) {
            line_ = "\n" + dateDescription(now) + " - ";
            prefix_ = line_.size();
            second_ = second;
        }
        line_.resize(prefix_);
        line_.append(message).push_back('\n');
        return line_;
    }

    // Releases the memory of an unusually long line.
    void forgetLongLine() {
        if (line_.capacity() <= kKeptBytes) return;
        line_ = std::string();
    }

    static constexpr std::size_t kKeptBytes = std::size_t{64} << 10;
    std::chrono::sys_seconds second_{};
    std::string line_;
    std::size_t prefix_ = 0;
};

// Whether a message of this length may be waited for at all.
bool isShort(std::string_view message) {
    // No unit takes more than three bytes, so a long message need not be measured.
    return !message.empty() && message.size() <= 3 * kShortUnits &&
           lengthInUnits(message) <= kShortUnits;
}

void print(std::string_view text) {
    platform::current().console->print(text);
}

}  // namespace

void KXLog::fastAppendMessage(std::string_view message) {
    if (KXLog* log = sharedController()) log->appendTextToLog(message);
}

void KXLog::appendMessage(std::string_view message) {
    KXLog* const log = sharedController();
    if (log == nullptr) return;
    log->appendTextToLog(message);
    if (log->bytesInQueue() <= kShortUnits && isShort(message) &&
        !platform::current().mainThread->isMainThread())
        finishWriting();
}

// The trimmed message is used as a format, and percent signs are changed for standard output
// although nothing interprets them there. Both are kept for compatibility.
void KXLog::appendMessageAndPrint(std::string_view message) {
    const std::string trimmed(trimWhitespaceAndNewlines(message));
    appendLog(RuntimeFormat{trimmed});
    const KXLog* const log = sharedController();
    if (log != nullptr && log->loggingDisabled()) return;
    std::string shown = replaceAll(replaceAll(trimmed, "%@", ""), "%", "%%");
    std::erase(shown, '\0');
    platform::current().console->putString(shown);
}

void KXLog::finishWriting() noexcept {
    KXLog* const log = sharedController();
    WriteQueue* const queue = log != nullptr ? log->writeQueue() : nullptr;
    if (queue != nullptr) queue->waitUntilAllOperationsAreFinished();
}

void KXLog::appendTextToLog(std::string_view message) noexcept {
    const std::string_view text = trimWhitespaceAndNewlines(message);
    if (text.empty()) return;
    const std::size_t units = lengthInUnits(text);
    // Before the worker can subtract them.
    unitsQueued_.fetch_add(units, std::memory_order_relaxed);
    try {
        if (WriteQueue* queue = writeQueue()) return queue->add(text);
        if (!hasNoWorker_) return;
        reportLoss(text);
    } catch (...) {
        reportCaughtException();
    }
    unitsDone_.fetch_add(units, std::memory_order_relaxed);
}

void KXLog::appendLogOnThread(std::string_view message) noexcept {
    try {
        writeMessage(message);
    } catch (...) {
        reportCaughtException();
    }
}

// bytesInQueue is not reduced when logging is disabled or the write throws. Kept for compatibility:
// it is an estimate, and a too high one only makes appendLog return at once.
void KXLog::writeMessage(std::string_view message) {
    if (loggingDisabled()) return;
    const std::shared_ptr<platform::FileHandle> handle = openHandle();
    if (handle) {
        thread_local LineWriter writer;
        const std::size_t written = bytesWritten() + writer.write(handle, message);
        setBytesWritten(written);
        if (written >= kGenerationBytes) startNextGeneration();
    } else {
        reportLoss(message);
    }
    unitsDone_.fetch_add(lengthInUnits(message), std::memory_order_relaxed);
}

// The open file; else the newest generation of an earlier run, positioned at its end. Never creates
// a file. An earlier run that died, or whose disk was full, may have left half a line.
std::shared_ptr<platform::FileHandle> KXLog::openHandle() {
    std::shared_ptr<platform::FileHandle> handle = fileHandle();
    if (handle) return handle;
    const OptionalPath path = currentLogPath(findName());
    if (path) handle = platform::current().fileHandles->openForWriting(*path);
    if (!handle) return nullptr;
    // Stored last: if positioning throws, the next message must not overwrite the earlier run's
    // lines.
    handle->seekToEndOfFile();
    handle->writeAtEndOnly();
    if (platform::current().fileHandles->endsWithinLine(*path)) PartialLine::shared().setIn(handle);
    setFileHandle(handle);
    return handle;
}

// Each text has its own test: another thread may disable logging in between.
void KXLog::reportLoss(std::string_view message) {
    if (!loggingDisabled())
        print(formatted("Unable to log the following information: %s\n", message));
    if (!loggingDisabled()) print("Unable to open log for output\n");
}

// Runs on the worker: what is already queued is written before the header and the notice.
void KXLog::startNextGeneration() {
    createNewLog(appName());
    appendLog("Log truncated at 500KB");
}

}  // namespace quillmoor
