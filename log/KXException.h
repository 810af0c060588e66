// Reports of exceptions, caught and uncaught.
//
//   } catch (const platform::Exception& exception) {
//       KXException::logException(&exception, __func__);   // Exception in load. Name - reason.
//   }
//
// An uncaught exception needs no call: the first use of the log installs the handler below.
#pragma once

#include <string>

#include "quillmoor/platform/exception.h"

namespace quillmoor {

// No state; may be used from any thread.
class KXException {
  public:
    KXException() = delete;

    // `logException:forMethod:`: writes "Exception in <method>. <name> - <reason>." to the log and
    // to standard output, and returns that text. `forMethod` is the name of the function that
    // caught the exception. A format directive in the reason is rendered by the log, without
    // arguments. A null exception has "(null)" for name and reason. May wait for the log as
    // KXLog::appendLog does, off the main thread and for a report of less than 100 characters. The
    // text is returned also where the log is disabled, and then neither written nor printed. If
    // there is no memory for the report, it is lost, which is reported on standard output; the
    // result is then empty or the part that could be made. A null `forMethod` is written as
    // "(null)".
    static std::string logException(const platform::Exception* exception,
                                    const char* forMethod) noexcept;

    // `didTimeout:`: whether the exception's name is exactly "NSPortTimeoutException". False for
    // null. Reports nothing.
    static bool didTimeout(const platform::Exception* exception) noexcept;
};

// The process's handler for uncaught exceptions, installed by the first use of the log, in place of
// any handler installed before. Writes the exception's reason to the log and to standard output,
// and waits until it is in the file; the process then ends as it would without the handler. Runs on
// the thread that the exception escaped from.
//
// The order in the file: what was queued before, then the reason, a directive in which is rendered
// by the log, without arguments. What other threads log from then on is dropped and not reported. A
// second thread that an exception escapes from waits for the end of the process, and its reason is
// not reported. The wait has no time limit: a disk that does not return holds the process up.
//
// An exception of another class than platform::Exception is reported by its what(). Called
// directly, the function reports and waits, and drops nothing; with null it only waits.
void uncaughtExceptionHandler(const platform::Exception* exception);

}  // namespace quillmoor
