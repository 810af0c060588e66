// Reports of exceptions, caught and uncaught.
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
    // KXLog::appendLog does. If there is no memory for the report, it is lost, which is reported on
    // standard output; the result is then empty or the part that could be made.
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
void uncaughtExceptionHandler(const platform::Exception* exception);

}  // namespace quillmoor
