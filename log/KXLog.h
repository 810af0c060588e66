// The process-wide log: one text file per application name in the user's log folder, kept as at
// most five generations.
//
//   KXLog::createNewLog();                                   // once, at the start
//   KXLog::appendLog("Error: %@ is not executable", path);   // from any thread
//
//   ~/Library/Logs/Quillmoor/Name.1.log   the newest
//                            Name.2.log … Name.5.log, the oldest
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "quillmoor/base/format.h"
#include "quillmoor/base/shared_object.h"
#include "quillmoor/base/types.h"
#include "quillmoor/log/SpinLock.h"
#include "quillmoor/log/WriteQueue.h"
#include "quillmoor/platform/file_handle.h"

namespace quillmoor {

// Nothing here throws or returns an error. What goes wrong with the log itself, a lack of memory
// included, is reported on standard output. A format is checked against its arguments when it is
// compiled; one that is known only at run time is passed as RuntimeFormat, and nil (std::nullopt)
// does nothing.
class KXLog : public SharedObject<KXLog> {
  public:
    // Appending, from any thread ----------------------------------------------------------------
    // A message is formatted and trimmed on the caller's thread and written by the log's own
    // worker, as one line "date - message". One that is empty after trimming is not written.

    // `appendLog:`: returns at once; but off the main thread, for a message of 1 to 99 characters
    // while no more than 99 are queued, it returns when everything queued so far is written.
    template <typename... Arguments>
    static void appendLog(Format<Arguments...> format, const Arguments&... arguments) noexcept {
        build<&KXLog::appendMessage, Arguments...>(format, arguments...);
    }

    // `fastAppendLog:`: always returns at once.
    template <typename... Arguments>
    static void fastAppendLog(Format<Arguments...> format, const Arguments&... arguments) noexcept {
        build<&KXLog::fastAppendMessage, Arguments...>(format, arguments...);
    }

    // `appendLogAndPrint:`: as appendLog, and on standard output too. The message becomes a format
    // itself: a directive that it still holds is rendered once more, without arguments. On standard
    // output "%@" is left out and every other percent sign is doubled. Where logging is disabled
    // nothing is printed either.
    template <typename... Arguments>
    static void appendLogAndPrint(Format<Arguments...> format,
                                  const Arguments&... arguments) noexcept {
        build<&KXLog::appendMessageAndPrint, Arguments...>(format, arguments...);
    }

    // `finishWriting`: waits until everything queued so far is written, with the header and the
    // notice where a line of it starts the next generation. Ends however much other threads add
    // meanwhile. Returns at once on the log's own worker.
    static void finishWriting() noexcept;

    // Files -------------------------------------------------------------------------------------

    // `createNewLog` and `createNewLog:`: shifts the generations by one, starts an empty newest one
    // and writes the header. Generation 5 is lost. The name is taken only when there is no other.
    // Where the user's preferences say so, logging is disabled for the rest of the process. After a
    // failure no log is open; the text on standard output says what failed, unless it was the
    // opening of the new file, of which nothing is said.
    // Calls are not serialised against each other: start the log before logging heavily. Another
    // process, or another copy of the library in this one, that writes to the same file keeps its
    // file under the new name, as generation 2, 3 and so on, and writes there until it starts a new
    // generation itself. In a child made by fork nothing happens.
    static void createNewLog() noexcept;
    static void createNewLog(const OptionalString& appName) noexcept;

    // `availableLogs`: the paths of the user's generations that exist, newest first.
    static StringList availableLogs() noexcept;

    // The shared controller ---------------------------------------------------------------------

    // `sharedController`: made on the first call, and with it the queue, the hook for the end of
    // the program and the handler for exceptions that nobody catches. null only if somebody has
    // used allocWithZone before: then nothing is logged.
    static KXLog* sharedController() noexcept;

    // `allocWithZone:`: the one instance, once; afterwards null.
    static KXLog* allocWithZone() noexcept;

    // `willTerminate:`: waits for the queue if fewer than 20 messages are pending, closes the file
    // and ends logging. Called on the main thread when the application terminates.
    static void willTerminate() noexcept;

    // `dealloc`: the same without waiting to be told. Nobody calls it, for nobody can release.
    void dealloc() noexcept;

    // `appName`: the stored name, else the main program's, without its extension. nil where there
    // is neither, or no memory.
    OptionalString appName() const noexcept;
    void setAppName(const OptionalString& name) noexcept;

    // `fileHandle`: null when no log is open.
    std::shared_ptr<platform::FileHandle> fileHandle() const noexcept;
    void setFileHandle(std::shared_ptr<platform::FileHandle> handle) noexcept;

    // `bytesWritten`: to the current file since createNewLog started it.
    std::size_t bytesWritten() const { return bytesWritten_.load(std::memory_order_relaxed); }
    void setBytesWritten(std::size_t bytes) {
        bytesWritten_.store(bytes, std::memory_order_relaxed);
    }

    // `writeQueue`: null after the end, and where no thread could be started for it: then each
    // message is reported on standard output as lost. A queue is never destroyed.
    WriteQueue* writeQueue() const { return writeQueue_; }
    void setWriteQueue(WriteQueue* queue) { writeQueue_ = queue; }

    // `bytesInQueue`: characters (16-bit units) queued and not yet written; an estimate.
    std::size_t bytesInQueue() const {
        return unitsQueued_.load(std::memory_order_relaxed) -
               unitsDone_.load(std::memory_order_relaxed);
    }
    void setBytesInQueue(std::size_t units) {
        unitsDone_.store(0, std::memory_order_relaxed);
        unitsQueued_.store(units, std::memory_order_relaxed);
    }

    // `loggingDisabled`: never cleared again by the log itself.
    bool loggingDisabled() const { return loggingDisabled_; }
    void setLoggingDisabled(bool disabled) { loggingDisabled_ = disabled; }

    // `appendTextToLog:`: trims and queues a finished message.
    void appendTextToLog(std::string_view message) noexcept;

    // `appendLogOnThread:`: writes one message; the body of the queue's worker. Whatever goes wrong
    // loses this message only; where a part of it reached the file, the next one begins a line of
    // its own.
    void appendLogOnThread(std::string_view message) noexcept;

  private:
    friend class KXException;  // what goes wrong there is reported in the same way

    KXLog() = default;

    template <auto appendMessage, typename... Arguments>
    static void build(Format<Arguments...> format, const Arguments&... arguments) noexcept {
        if (format.isNil()) return;
        try {
            std::string message;
            appendFormatted<Arguments...>(message, format, arguments...);
            appendMessage(message);
        } catch (...) {
            reportCaughtException();
        }
    }
    static void appendMessage(std::string_view message);
    static void fastAppendMessage(std::string_view message);
    static void appendMessageAndPrint(std::string_view message);

    static void reportCaughtException() noexcept;

    static void setUpSharedController() noexcept;
    void setUp() noexcept;
    void makeQueue() noexcept;
    static void watchForks();
    static void lockBeforeFork();
    static void unlockAfterFork();
    static void dropQueueInForkedChild();
    void shutDown() noexcept;

    static void startLog(KXLog& log, const OptionalString& appName);

    // As appName and setAppName, but without memory they throw: no log may be started, or messages
    // be written, under another name for that.
    OptionalString findName() const;
    void storeName(OptionalString name);

    static bool isDisabledByPreferences();
    bool rotate(const OptionalPath& logFolder, const std::string& name);
    bool startFile(const OptionalPath& path);
    void appendHeader();
    OptionalPath currentLogPath(const OptionalString& name) const;
    void writeMessage(std::string_view message);
    std::shared_ptr<platform::FileHandle> openHandle();
    void reportLoss(std::string_view message);
    void startNextGeneration();

    mutable SpinLock lock_;  // of the two properties below it
    OptionalString appName_;
    std::shared_ptr<platform::FileHandle> fileHandle_;

    std::atomic<WriteQueue*> writeQueue_{nullptr};
    std::atomic<bool> hasNoWorker_{false};
    std::atomic<bool> isForkedCopy_{false};
    std::atomic<bool> loggingDisabled_{false};

    // bytesInQueue is the difference of two counters, one changed by callers and one by the worker,
    // each on a cache line of its own: sharing one would cost every caller more than its
    // formatting.
    static constexpr std::size_t kCacheLine = 64;
    alignas(kCacheLine) std::atomic<std::size_t> unitsQueued_{0};
    alignas(kCacheLine) std::atomic<std::size_t> unitsDone_{0};
    std::atomic<std::size_t> bytesWritten_{0};
};

}  // namespace quillmoor
