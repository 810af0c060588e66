// The receiver of notices about a copy that runs in the background.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <variant>

#include "quillmoor/platform/file_operations.h"

namespace quillmoor {

class FileOperationDelegate;

using FileOperationDelegateRef = std::shared_ptr<FileOperationDelegate>;
using CallerObject = std::shared_ptr<void>;

// "stage" (long), "source", "destination", "operationtype" (the string "copy"), and, where they
// were given, "delegate", "object" and "object2"; in progress notices also the platform's counts
// (double), under its own keys.
using FileOperationNotice =
    std::map<std::string,
             std::variant<long, double, std::string, FileOperationDelegateRef, CallerObject>>;

// All functions are called on the main thread. implements() says which notices the delegate wants;
// for each event the form with the operation is preferred.
class FileOperationDelegate {
  public:
    enum class Notice {
        Progress,               // fileOperationProgress:
        ProgressWithOperation,  // fileOperationProgress:fileOperation:
        Finished,               // fileOperationFinished:
        FinishedWithOperation   // fileOperationFinished:fileOperation:
    };

    virtual ~FileOperationDelegate() = default;

    virtual bool implements(Notice notice) const = 0;

    // About once a second.
    virtual void fileOperationProgress(const FileOperationNotice& /*notice*/) {}
    virtual void fileOperationProgress(const FileOperationNotice& /*notice*/,
                                       const platform::FileOperationRef& /*fileOperation*/) {}

    // Once, after success, failure and cancellation alike. Whether the copy succeeded is not
    // reported. The operation only serves to identify the copy.
    virtual void fileOperationFinished(const FileOperationNotice& /*notice*/) {}
    virtual void fileOperationFinished(const FileOperationNotice& /*notice*/,
                                       const platform::FileOperationRef& /*fileOperation*/) {}
};

}  // namespace quillmoor
