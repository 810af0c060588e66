// Long file operations in the background, which report on the main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// One operation, known to its back-end only. Two references are equal when they are of the same.
class FileOperation {
  public:
    virtual ~FileOperation() = default;

  protected:
    FileOperation() = default;
};
using FileOperationRef = std::shared_ptr<FileOperation>;

enum class FileOperationStage : long { Undefined = 0, Preflighting = 1, Running = 2, Complete = 3 };

// How far an operation has come, under the platform's own keys.
using FileOperationStatus = std::map<std::string, double>;
inline constexpr char kFSOperationTotalBytesKey[] = "kFSOperationTotalBytesKey";
inline constexpr char kFSOperationBytesCompleteKey[] = "kFSOperationBytesCompleteKey";
inline constexpr char kFSOperationBytesRemainingKey[] = "kFSOperationBytesRemainingKey";
inline constexpr char kFSOperationTotalObjectsKey[] = "kFSOperationTotalObjectsKey";
inline constexpr char kFSOperationObjectsCompleteKey[] = "kFSOperationObjectsCompleteKey";
inline constexpr char kFSOperationObjectsRemainingKey[] = "kFSOperationObjectsRemainingKey";
inline constexpr char kFSOperationThroughputKey[] = "kFSOperationThroughputKey";  // bytes a second

struct FileOperationReport {
    FileOperationRef operation;
    OptionalPath currentItem;
    FileOperationStage stage = FileOperationStage::Undefined;
    std::int32_t error = 0;
    std::optional<FileOperationStatus> status;
};
using FileOperationCallback = std::function<void(const FileOperationReport& report)>;

// Statuses are the platform's: 0 is success. May be called from any thread.
class FileOperations {
  public:
    virtual ~FileOperations() = default;

    // `FSFileOperationCreate`
    virtual FileOperationRef create() = 0;

    // `FSFileOperationScheduleWithRunLoop`: on the main thread's run loop, in its default mode
    // only: while that thread is in another mode nothing is reported.
    virtual std::int32_t schedule(const FileOperationRef& operation) = 0;

    // `FSFileOperationUnscheduleFromRunLoop`: nothing is reported any more.
    virtual std::int32_t unschedule(const FileOperationRef& operation) = 0;

    // `FSPathCopyObjectAsync`: starts copying `source` into `folder` under `name`, once for each
    // operation, and returns. What stands there is not replaced. The callback hears of each stage
    // and, while it runs, about once in `interval`; the last report is always one of the stage
    // Complete; other reports are left out when memory is short. The callback is kept until then.
    // After a failure or a cancellation nothing stands at the destination that was not there
    // before.
    virtual std::int32_t copy(const FileOperationRef& operation, const std::string& source,
                              const std::string& folder, const std::string& name,
                              FileOperationCallback callback,
                              std::chrono::milliseconds interval) = 0;

    // `FSFileOperationCancel`: ends the operation early.
    virtual std::int32_t cancel(const FileOperationRef& operation) = 0;
};

}  // namespace quillmoor::platform
