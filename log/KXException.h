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
    // to standard output, and answers the text. A directive in the reason is rendered by the log. A
    // null exception has "(null)" for name and reason. Without memory for it the report is lost,
    // which standard output says, and the result is empty or the part that could be made.
    static std::string logException(const platform::Exception* exception,
                                    const char* forMethod) noexcept;

    // `didTimeout:`: the exception's name is exactly "NSPortTimeoutException".
    static bool didTimeout(const platform::Exception* exception) noexcept;
};

// The process's handler for exceptions that nobody catches, in force from the first use of the log:
// writes the reason to the log and to standard output, and waits until it is in the file. Runs on
// the thread that the exception escaped from.
void uncaughtExceptionHandler(const platform::Exception* exception);

}  // namespace quillmoor
