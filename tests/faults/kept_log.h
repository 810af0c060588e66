// A log that keeps its messages in memory, so that its worker makes no calls while faults happen.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "quillmoor/log/KXLog.h"

namespace quillmoor::test {

class KeptLogFile : public platform::FileHandle {
  public:
    void writeData(std::string_view bytes) override {
        const std::lock_guard lock(mutex_);
        text_ += bytes;
    }
    std::uint64_t seekToEndOfFile() override { return 0; }
    std::size_t readAvailableData(platform::ByteBuffer&) override { return 0; }
    void closeFile() override {}
    std::string text() {
        const std::lock_guard lock(mutex_);
        return text_;
    }

  private:
    std::mutex mutex_;
    std::string text_;
};

// The log's file for as long as this lives.
class KeptLog {
  public:
    KeptLog() { KXLog::sharedController()->setFileHandle(file_); }
    ~KeptLog() { KXLog::finishWriting(); }
    KeptLog(const KeptLog&) = delete;
    KeptLog& operator=(const KeptLog&) = delete;

    bool has(std::string_view text) const {
        KXLog::finishWriting();
        return file_->text().find(text) != std::string::npos;
    }

  private:
    std::shared_ptr<KeptLogFile> file_ = std::make_shared<KeptLogFile>();
};

}  // namespace quillmoor::test
