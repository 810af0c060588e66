// Long file operations in the background, which report on the main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "quillmoor/base/outcome.h"
#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// One operation; its contents are known to the back-end only. Two references are equal when they
// refer to the same operation.
class FileOperation {
  public:
    virtual ~FileOperation() = default;

  protected:
    FileOperation() = default;
};
using FileOperationRef = std::shared_ptr<FileOperation>;

enum class FileOperationStage : long { Undefined = 0, Preflighting = 1, Running = 2, Complete = 3 };

// An operation's progress, under the platform's own keys.
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
    // Behind `error`, in the last report; nil where the back-end has no more than the status.
    std::optional<Error> failure{};
};
using FileOperationCallback = std::function<void(const FileOperationReport& report)>;

// May be called from any thread. Statuses are the platform's: 0 is success, -50 a parameter error
// (an operation of another back-end, or one that is not in the right state), -108 no memory; in the
// last report also -43 source missing, -48 destination exists, -128 cancelled, -36 any other error.
class FileOperations {
  public:
    virtual ~FileOperations() = default;

    // `FSFileOperationCreate`
    virtual FileOperationRef create() = 0;

    // `FSFileOperationScheduleWithRunLoop`: on the main thread's run loop, in its default mode
    // only: while that thread is in another mode nothing is reported. -50 when it is scheduled.
    virtual std::int32_t schedule(const FileOperationRef& operation) = 0;

    // `FSFileOperationUnscheduleFromRunLoop`: no report follows. -50 when it is not scheduled.
    virtual std::int32_t unschedule(const FileOperationRef& operation) = 0;

    // `FSPathCopyObjectAsync`: starts copying `source` into `folder` under `name`, once for each
    // operation, and returns. Needs a scheduled operation and a name that is one path component. An
    // existing item is not replaced. The callback is called on the main thread for each stage and,
    // during the copy, about once in `interval`; the last report always has the stage Complete;
    // other reports are left out when memory is short. The callback is released after that. After a
    // failure or a cancellation nothing new exists at the destination.
    virtual std::int32_t copy(const FileOperationRef& operation, const std::string& source,
                              const std::string& folder, const std::string& name,
                              FileOperationCallback callback,
                              std::chrono::milliseconds interval) = 0;

    // `FSFileOperationCancel`: ends the operation early; the last report then has the error -128.
    // Returns at once. No effect on an operation that has ended.
    virtual std::int32_t cancel(const FileOperationRef& operation) = 0;
};

}  // namespace quillmoor::platform
