// Shared by the terminal and the window: a copy that reports its progress and can be stopped.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "quillmoor/files/KXFileManager.h"

namespace quillmoor::copy_progress {

// The progress of the copy.
struct Progress {
    double done = 0;  // 0 to 1
    double bytes = 0;
    double bytesPerSecond = 0;
};

// Receives the copy's notices on the main thread, and cancels the copy on request.
class CopyListener : public FileOperationDelegate {
  public:
    std::function<void(const Progress&)> progressed = [](const Progress&) {};
    std::function<void()> finished = [] {};

    // Takes effect at the next progress notice, which carries the operation to cancel.
    void cancel() { cancelled_ = true; }

    bool implements(Notice notice) const override;
    using FileOperationDelegate::fileOperationFinished;
    using FileOperationDelegate::fileOperationProgress;
    void fileOperationProgress(const FileOperationNotice& notice,
                               const platform::FileOperationRef& fileOperation) override;
    void fileOperationFinished(const FileOperationNotice& notice,
                               const platform::FileOperationRef& fileOperation) override;

  private:
    bool cancelled_ = false;
};

// "12.50 MB, 3.10 MB a second"
std::string description(const Progress& progress);

}  // namespace quillmoor::copy_progress
