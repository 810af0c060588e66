#include "quillmoor/files/operation_support.h"

#include "quillmoor/base/format.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/log/KXException.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/exception.h"

namespace quillmoor {

// Only a process of root gets an exception, from the task runner: all other failures are returned.
bool withAuthorization(const char* method, const std::function<bool(KXAuthorization&)>& operation) {
    try {
        return operation(*KXAuthorization::sharedController());
    } catch (const platform::Exception& exception) {
        noteAuthorization(KXFailure::Authorization::Failed);
        KXException::logException(&exception, method);
        return false;
    }
}

void reportRemainingCopy(const std::string& item, const std::string& copy) {
    platform::current().console->log(
        formatted("Unable to remove %@ completely after copying it. The complete copy is at %@.",
                  item, copy));
}

platform::RecycleOutcome moveToTrash(const std::string& path) {
    platform::RecycleOutcome outcome = platform::current().trash->recycle(
        deleteLastPathComponent(path), KXLocalPaths::trashDirectory(), {lastPathComponent(path)});
    for (const auto& [item, copy] : outcome.remainingCopies) reportRemainingCopy(item, copy);
    if (!outcome) noteFailure(outcome.error);
    return outcome;
}

void reportCaught(const std::exception& exception, const char* method) noexcept {
    try {
        if (const auto* known = dynamic_cast<const platform::Exception*>(&exception)) {
            KXException::logException(known, method);
            return;
        }
        // The report needs a name, which standard exceptions do not have.
        const platform::Exception named("NSGenericException", exception.what());
        KXException::logException(&named, method);
    } catch (const std::exception&) {
        return;  // no memory for a report either
    }
}

}  // namespace quillmoor
