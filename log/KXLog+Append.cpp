#include <chrono>

#include "base/dates.h"
#include "base/strings.h"
#include "log/KXLog.h"
#include "platform/exception.h"
#include "platform/platform.h"

namespace quillmoor {
namespace {

constexpr std::size_t kGenerationBytes = 500'000;

// Short messages with little before them are worth waiting for.
constexpr std::size_t kShortUnits = 99;

// The line of a message, in memory that is used again. The date is worked out once a second.
class LineBuilder {
  public:
    std::string_view line(std::string_view message) {
        const auto now = platform::current().clock->now();
        const auto second = std::chrono::floor<std::chrono::seconds>(now);
        if (second != second_ || line_.empty()) {
            second_ = second;
            line_ = dateDescription(now) + " - ";
            prefix_ = line_.size();
        }
        line_.resize(prefix_);
        line_.append(message).push_back('\n');
        return line_;
    }

    // Gives the memory of an unusually long line back.
    void forgetLongLine() {
        if (line_.capacity() <= kKeptBytes) return;
        line_ = std::string();
    }

  private:
    static constexpr std::size_t kKeptBytes = std::size_t{64} << 10;
    std::chrono::sys_seconds second_{};
    std::string line_;
    std::size_t prefix_ = 0;
};

// Whether a message of this length may be waited for at all.
bool isShort(std::string_view message) {
    // No unit takes more than three bytes.
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

void KXLog::appendMessageAndPrint(std::string_view message) {
    const std::string trimmed(trimWhitespaceAndNewlines(message));
    appendLog(RuntimeFormat{trimmed});
    const KXLog* const log = sharedController();
    if (log != nullptr && log->loggingDisabled()) return;
    std::string shown = replaceAll(replaceAll(trimmed, "%@", ""), "%", "%%");
    std::erase(shown, '\0');
    platform::current().console->putString(shown);
}

void KXLog::finishWriting() {
    KXLog* const log = sharedController();
    WriteQueue* const queue = log != nullptr ? log->writeQueue() : nullptr;
    if (queue != nullptr) queue->waitUntilAllOperationsAreFinished();
}

void KXLog::appendTextToLog(std::string_view message) {
    const std::string_view text = trimWhitespaceAndNewlines(message);
    if (text.empty()) return;
    const std::size_t units = lengthInUnits(text);
    unitsQueued_.fetch_add(units, std::memory_order_relaxed);
    if (WriteQueue* queue = writeQueue()) return queue->add(text);
    if (!hasNoWorker_) return;
    reportLoss(text);
    unitsDone_.fetch_add(units, std::memory_order_relaxed);
}

void KXLog::appendLogOnThread(std::string_view message) {
    try {
        writeMessage(message);
    } catch (const platform::Exception& exception) {
        if (!loggingDisabled())
            print(formatted("Exception writing to log: %s\n", exception.reason()));
    }
}

// Where logging is disabled, or the write throws, bytesInQueue is not reduced; kept so.
void KXLog::writeMessage(std::string_view message) {
    if (loggingDisabled()) return;
    const std::shared_ptr<platform::FileHandle> handle = openHandle();
    if (handle) {
        thread_local LineBuilder builder;
        const std::string_view line = builder.line(message);
        handle->writeData(line);
        const std::size_t written = bytesWritten() + line.size();
        setBytesWritten(written);
        builder.forgetLongLine();
        if (written >= kGenerationBytes) startNextGeneration();
    } else {
        reportLoss(message);
    }
    unitsDone_.fetch_add(lengthInUnits(message), std::memory_order_relaxed);
}

// The open file; else the newest generation of an earlier run, at its end. Never creates a file.
std::shared_ptr<platform::FileHandle> KXLog::openHandle() {
    std::shared_ptr<platform::FileHandle> handle = fileHandle();
    if (handle) return handle;
    const OptionalPath path = currentLogPath(appName());
    if (path) handle = platform::current().fileHandles->openForWriting(*path);
    if (!handle) return nullptr;
    setFileHandle(handle);
    handle->seekToEndOfFile();
    return handle;
}

void KXLog::reportLoss(std::string_view message) {
    if (!loggingDisabled())
        print(formatted("Unable to log the following information: %s\n", message));
    if (!loggingDisabled()) print("Unable to open log for output\n");
}

// Runs on the worker: what is queued already comes before the header and the notice.
void KXLog::startNextGeneration() {
    createNewLog(appName());
    appendLog("Log truncated at 500KB");
}

}  // namespace quillmoor
