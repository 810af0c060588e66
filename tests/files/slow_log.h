// A log with a slow worker, so that a test can detect which calls wait for it.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "quillmoor/log/KXLog.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {

// From now on each line takes 50 ms to be written, or as long as the log is held.
class SlowLog {
  public:
    explicit SlowLog(ScopedPlatform& platform)
        : platform_(platform), before_(platform->fileHandles) {
        KXLog::finishWriting();
        platform_->fileHandles = &handles_;
        KXLog::createNewLog("Slow");
        KXLog::finishWriting();
    }
    ~SlowLog() {
        handles_.held = false;
        KXLog::finishWriting();
        platform_->fileHandles = before_;
        KXLog::createNewLog("Files");
        KXLog::finishWriting();
    }
    SlowLog(const SlowLog&) = delete;
    SlowLog& operator=(const SlowLog&) = delete;

    void hold() { handles_.held = true; }
    void letGo() { handles_.held = false; }
    // What has been written so far.
    std::string text() const {
        const StringList logs = KXLog::availableLogs();
        return logs.empty() ? "" : readFile(logs.front());
    }

  private:
    class Handle : public ForwardingFileHandle {
      public:
        Handle(std::shared_ptr<platform::FileHandle> next, const std::atomic<bool>& held)
            : ForwardingFileHandle(std::move(next)), held_(held) {}
        void writeData(std::string_view bytes) override {
            do std::this_thread::sleep_for(std::chrono::milliseconds(50));
            while (held_);
            ForwardingFileHandle::writeData(bytes);
        }

      private:
        const std::atomic<bool>& held_;
    };
    class Handles : public ForwardingFileHandles {
      public:
        std::atomic<bool> held{false};
        std::shared_ptr<platform::FileHandle> openForWriting(const std::string& path) override {
            auto next = ForwardingFileHandles::openForWriting(path);
            return next == nullptr ? nullptr : std::make_shared<Handle>(std::move(next), held);
        }
    };

    ScopedPlatform& platform_;
    platform::FileHandles* before_;
    Handles handles_;
};

}  // namespace quillmoor::test
