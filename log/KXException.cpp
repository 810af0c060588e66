#include "quillmoor/log/KXException.h"

#include "quillmoor/base/types.h"
#include "quillmoor/log/KXLog.h"

namespace quillmoor {

std::string KXException::logException(const platform::Exception* exception,
                                      const char* forMethod) noexcept {
    std::string report;
    try {
        OptionalString name;
        OptionalString reason;
        if (exception != nullptr) {
            name = exception->name();
            reason = exception->reason();
        }
        appendFormatted(report, "Exception in %s. %@ - %@.", forMethod, name, reason);
        // The text is used as a format, not as an argument of one: kept for compatibility.
        KXLog::appendLogAndPrint(RuntimeFormat{report});
    } catch (...) {
        KXLog::reportCaughtException();
    }
    return report;
}

bool KXException::didTimeout(const platform::Exception* exception) noexcept {
    return exception != nullptr && exception->name() == "NSPortTimeoutException";
}

void uncaughtExceptionHandler(const platform::Exception* exception) {
    if (exception != nullptr) KXLog::appendLogAndPrint(RuntimeFormat{exception->reason()});
    KXLog::finishWriting();
}

}  // namespace quillmoor
