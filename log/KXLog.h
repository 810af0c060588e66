// The process-wide log: one text file per application name in the user's log folder, kept as at
// most five generations.
//
//   KXLog::createNewLog();                                   // once, at the start
//   KXLog::appendLog("Error: %@ is not executable", path);   // from any thread
//
//   ~/Library/Logs/Quillmoor/Name.1.log   the newest
//                            Name.2.log … Name.5.log, the oldest
//
// A process of root writes Name.1.log to /Library/Logs/Quillmoor, a folder that is not created
// here; the older generations are shifted in the console user's folder.
//
// Order. The lines of one thread are in the order of its calls; those of several are whole, in the
// order in which their calls reached the queue. The date is that of the write.
//
// Waiting. Which calls wait for a write, none with a time limit:
//
//   fastAppendLog                  never
//   appendLog, appendLogAndPrint   off the main thread, for 1 to 99 characters, while no more than
//                                  99 are queued: until everything queued so far is written
//   finishWriting                  on every thread: until everything queued so far is written
//   willTerminate                  the same, if fewer than 20 messages are pending
//
// The log's own worker never waits for itself.
//
// Loss. A message that cannot be written is lost alone, and that is reported on standard output:
// without an open file, when the disk is full, or without memory. Lost without a report is what is
// logged after willTerminate, in a child made by fork, while the log is disabled, and by other
// threads while the process dies of an exception; and what is pending when the program ends with 20
// messages or more, or is killed. A killed process leaves whole lines, except possibly the last.
//
// Generations. The line that brings a file to 500,000 bytes stays in it. Then the generations are
// shifted, and the new file begins with what was queued already, the header, and "Log truncated at
// 500KB". A process that never calls createNewLog continues the newest generation of an earlier
// run, without a header, and the old contents do not count; if there is none, its messages are
// lost.
//
// Several processes of one name, and several copies of the library in one process, write to the
// same files. Lines stay whole and none is overwritten, but the generations are shared: each writer
// counts its own bytes only, and each start shifts the files of all. A writer whose file was
// shifted continues in it, as generation 2, 3 and so on, until it starts a new one itself; what it
// writes to a removed generation 5 is lost.
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

// Nothing here throws or returns an error. Failures of the log itself, a lack of memory included,
// are reported on standard output. A format is checked against its arguments when it is compiled;
// one that is known only at run time is passed as RuntimeFormat. With nil (std::nullopt) as format
// the operation does nothing. Text from outside belongs in an argument:
//
//   KXLog::appendLog("%@", text);             // as it is
//   KXLog::appendLog(RuntimeFormat{text});    // a percent sign in it begins a directive
//
// All operations may be called from any thread unless they say otherwise, but not from a signal
// handler. In a child made by fork nothing is written.
class KXLog : public SharedObject<KXLog> {
  public:
    // Appending, from any thread ----------------------------------------------------------------
    // A message is formatted, and trimmed of white space and newlines at both ends, on the caller's
    // thread. The log's own worker writes it as one line "date - message", with the date of the
    // write, in the order of queueing. A message that is empty after trimming is not written. Line
    // breaks inside a message are kept, and bytes that are not valid UTF-8 as well. Each message is
    // one system call, and nothing is forced to the disk.

    // `appendLog:`: queues a message and returns at once. A call off the main thread, with a
    // message of 1 to 99 characters (16-bit units, before trimming) and at most 99 queued, this one
    // included, waits until everything queued so far is written: so a short message is in the file
    // when the process crashes next.
    template <typename... Arguments>
    static void appendLog(Format<Arguments...> format, const Arguments&... arguments) noexcept {
        build<&KXLog::appendMessage, Arguments...>(format, arguments...);
    }

    // `fastAppendLog:`: queues a message and never waits. For loops, and for code that holds a
    // lock.
    template <typename... Arguments>
    static void fastAppendLog(Format<Arguments...> format, const Arguments&... arguments) noexcept {
        build<&KXLog::fastAppendMessage, Arguments...>(format, arguments...);
    }

    // `appendLogAndPrint:`: as appendLog, and also prints the message and a newline on standard
    // output. In the log the message is used as a format itself: a directive that it still contains
    // is rendered once more, without arguments. On standard output "%@" is left out and every other
    // percent sign is doubled. When logging is disabled nothing is printed either. The message is
    // queued before it is printed, and a message of spaces is printed as an empty line.
    template <typename... Arguments>
    static void appendLogAndPrint(Format<Arguments...> format,
                                  const Arguments&... arguments) noexcept {
        build<&KXLog::appendMessageAndPrint, Arguments...>(format, arguments...);
    }

    // `finishWriting`: waits until everything queued before the call is written; if one of these
    // lines starts the next generation, also its header and notice. What other threads queue
    // meanwhile does not extend the wait. Returns at once on the log's own worker, after
    // willTerminate, and in a child made by fork. What is written is with the system, not on the
    // disk: it survives the end of the process, but not a power failure.
    static void finishWriting() noexcept;

    // Files -------------------------------------------------------------------------------------

    // `createNewLog` and `createNewLog:`: shifts the generations by one, starts an empty newest one
    // and queues the header: date, the library's version and path where it is in a bundle, system,
    // word size. Generation 5 is removed, a generation that does not exist is skipped, and the
    // folder is created if it is missing. `appName` is used only if no name was stored and the main
    // program has none. If the user's preferences disable logging, it is disabled for the rest of
    // the process, and no file is changed. May wait for the queue as appendLog does. Does nothing
    // in a child made by fork.
    //
    // After a failure no log is open, and generations that were shifted before it stay shifted. The
    // failure is reported on standard output, except that of opening the new file, which is not
    // reported.
    //
    // Calls are not serialised against each other: start the log before logging heavily. Another
    // process, or another copy of the library in this one, that writes to the same file keeps its
    // file under the new name, as generation 2, 3 and so on, and writes there until it starts a new
    // generation itself.
    static void createNewLog() noexcept;
    static void createNewLog(const OptionalString& appName) noexcept;

    // `availableLogs`: the paths of the generations in the user's log folder that exist, newest
    // first. Empty also after a failure. For root these are the console user's, without the one
    // that is being written. Another process may shift them meanwhile.
    //
    //   for (const std::string& path : KXLog::availableLogs()) attach(path);
    static StringList availableLogs() noexcept;

    // The shared controller ---------------------------------------------------------------------

    // `sharedController`: the controller, which lives until the process exits. The first call
    // creates it, its queue, the hook for the end of the program and the handler for uncaught
    // exceptions; every operation of the log makes that call. null only if allocWithZone was called
    // before: then nothing is logged.
    static KXLog* sharedController() noexcept;

    // `allocWithZone:`: the one instance on the first call, afterwards null. Products have no
    // reason to call it.
    static KXLog* allocWithZone() noexcept;

    // `willTerminate:`: waits for the queue if fewer than 20 messages are pending, closes the file
    // and ends logging: later messages are dropped and not reported. With 20 or more the pending
    // ones may be lost. Called on the main thread when the application terminates.
    static void willTerminate() noexcept;

    // `dealloc`: ends logging like willTerminate. Never called by the library: nothing can release
    // the controller.
    void dealloc() noexcept;

    // `appName`: the stored name, else the main program's, without its extension. nil if there is
    // neither, or no memory. Without memory the setter keeps the old name, and reports that. The
    // file that is open keeps its path; the name counts from the next generation on.
    OptionalString appName() const noexcept;
    void setAppName(const OptionalString& name) noexcept;

    // `fileHandle`: null when no log is open; with null, the next message opens the newest
    // generation. The setter does not close the old file, which closes when its last reference is
    // released.
    std::shared_ptr<platform::FileHandle> fileHandle() const noexcept;
    void setFileHandle(std::shared_ptr<platform::FileHandle> handle) noexcept;

    // `bytesWritten`: the bytes written to the current file since createNewLog started it. What an
    // earlier run wrote to it does not count. The next generation starts at 500,000. Changed by the
    // worker: a value that is set while messages are queued may be overwritten.
    std::size_t bytesWritten() const { return bytesWritten_.load(std::memory_order_relaxed); }
    void setBytesWritten(std::size_t bytes) {
        bytesWritten_.store(bytes, std::memory_order_relaxed);
    }

    // `writeQueue`: null after willTerminate, in a child made by fork, and if no thread could be
    // started for it: then each message is reported on standard output as lost. A queue is never
    // destroyed.
    WriteQueue* writeQueue() const { return writeQueue_; }
    void setWriteQueue(WriteQueue* queue) { writeQueue_ = queue; }

    // `bytesInQueue`: characters (16-bit units) queued and not yet written; an estimate. Messages
    // that were dropped, or whose write failed, may stay counted, which only makes appendLog return
    // at once.
    std::size_t bytesInQueue() const {
        return unitsQueued_.load(std::memory_order_relaxed) -
               unitsDone_.load(std::memory_order_relaxed);
    }
    void setBytesInQueue(std::size_t units) {
        unitsDone_.store(0, std::memory_order_relaxed);
        unitsQueued_.store(units, std::memory_order_relaxed);
    }

    // `loggingDisabled`: messages are dropped and nothing is printed. Set by createNewLog; the log
    // itself never clears it.
    bool loggingDisabled() const { return loggingDisabled_; }
    void setLoggingDisabled(bool disabled) { loggingDisabled_ = disabled; }

    // `appendTextToLog:`: trims and queues a finished message, which is not used as a format. Never
    // waits. The text is copied.
    void appendTextToLog(std::string_view message) noexcept;

    // `appendLogOnThread:`: writes one message; the body of the queue's worker. A failure loses
    // this message only and is reported on standard output. If a part of it reached the file, the
    // next message begins a new line. It writes on the calling thread, past the queue: products
    // have no reason to call it.
    void appendLogOnThread(std::string_view message) noexcept;

  private:
    friend class KXException;  // reports its own failures with reportCaughtException

    KXLog() = default;

    // Formats the message and passes it on; without memory for it, that is reported.
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

    // Reports the exception that is being handled on standard output, unless logging is disabled.
    static void reportCaughtException() noexcept;

    // The first call of sharedController.
    static void setUpSharedController() noexcept;
    void setUp() noexcept;
    void makeQueue() noexcept;
    // Around a fork, which waits for a set-up in progress: the child has no worker, and drops the
    // queue.
    static void watchForks();
    static void lockBeforeFork();
    static void unlockAfterFork();
    static void dropQueueInForkedChild();
    void shutDown() noexcept;

    static void startLog(KXLog& log, const OptionalString& appName);

    // As appName and setAppName, but they throw std::bad_alloc: a lack of memory must not make the
    // log start or continue under another name.
    OptionalString findName() const;
    void storeName(OptionalString name);

    // The steps of createNewLog. rotate and startFile return false after a failure, which they have
    // reported, except that of opening the new file.
    static bool isDisabledByPreferences();
    bool rotate(const OptionalPath& logFolder, const std::string& name);
    bool startFile(const OptionalPath& path);
    void appendHeader();
    OptionalPath currentLogPath(const OptionalString& name) const;
    // The work of appendLogOnThread.
    void writeMessage(std::string_view message);
    std::shared_ptr<platform::FileHandle> openHandle();
    void reportLoss(std::string_view message);
    void startNextGeneration();

    mutable SpinLock lock_;  // guards the next two members
    OptionalString appName_;
    std::shared_ptr<platform::FileHandle> fileHandle_;

    std::atomic<WriteQueue*> writeQueue_{nullptr};
    std::atomic<bool> hasNoWorker_{false};   // no thread could be started: each message is reported
    std::atomic<bool> isForkedCopy_{false};  // in a child made by fork: starts no new file
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
