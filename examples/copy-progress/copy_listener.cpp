#include "examples/copy-progress/copy_listener.h"

namespace quillmoor::copy_progress {
namespace {

// A count of the platform; 0 where the notice has none.
double number(const FileOperationNotice& notice, const char* key) {
    const auto found = notice.find(key);
    const double* value = found != notice.end() ? std::get_if<double>(&found->second) : nullptr;
    return value != nullptr ? *value : 0;
}

}  // namespace

// Only the forms with the operation: it is what a cancellation needs.
bool CopyListener::implements(Notice notice) const {
    return notice == Notice::ProgressWithOperation || notice == Notice::FinishedWithOperation;
}

void CopyListener::fileOperationProgress(const FileOperationNotice& notice,
                                         const platform::FileOperationRef& fileOperation) {
    if (cancelled_) return KXFileManager::cancelFileOperation(fileOperation);
    // The total of an empty source is 0.
    const double total = number(notice, platform::kFSOperationTotalBytesKey);
    const double bytes = number(notice, platform::kFSOperationBytesCompleteKey);
    progressed({total > 0 ? bytes / total : 0, bytes,
                number(notice, platform::kFSOperationThroughputKey)});
}

void CopyListener::fileOperationFinished(const FileOperationNotice& /*notice*/,
                                         const platform::FileOperationRef& /*fileOperation*/) {
    finished();
}

std::string description(const Progress& progress) {
    return KXFileManager::formatFileSize(progress.bytes) + ", " +
           KXFileManager::formatFileSize(progress.bytesPerSecond) + " a second";
}

}  // namespace quillmoor::copy_progress
