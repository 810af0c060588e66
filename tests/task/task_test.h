// What the tests of the task runner share: a console and a log that record their messages.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/exception.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {

// A list that any thread may add to.
class SharedList {
  public:
    void add(std::string text) {
        const std::lock_guard lock(mutex_);
        texts_.push_back(std::move(text));
    }
    StringList all() const {
        const std::lock_guard lock(mutex_);
        return texts_;
    }
    bool contains(std::string_view text) const {
        const StringList texts = all();
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    }

  private:
    mutable std::mutex mutex_;
    StringList texts_;
};

class RecordingConsole : public ForwardingConsole {
  public:
    void log(std::string_view text) override {
        logged.add(std::string(text));
        meanwhile();
    }
    void print(std::string_view text) override { printed.add(std::string(text)); }
    void putString(std::string_view text) override { printed.add(std::string(text)); }

    SharedList logged;
    SharedList printed;
    // Called with each line of the console's log, after it was recorded.
    std::function<void()> meanwhile = [] {};
};

// The log's open file.
class RecordingLogFile : public platform::FileHandle {
  public:
    void writeData(std::string_view bytes) override { lines.add(std::string(bytes)); }
    std::uint64_t seekToEndOfFile() override { return 0; }
    std::size_t readAvailableData(platform::ByteBuffer&) override { return 0; }
    void closeFile() override {}

    SharedList lines;
};

class TaskTest : public ::testing::Test {
  protected:
    TaskTest() {
        platform_->console = &console_;
        KXLog::sharedController()->setFileHandle(logFile_);
    }
    ~TaskTest() override {
        KXLog::finishWriting();
        KXLog::sharedController()->setFileHandle(nullptr);
    }

    // The messages in the log, without their dates.
    StringList logged() {
        KXLog::finishWriting();
        StringList messages;
        for (const std::string& line : logFile_->lines.all()) {
            const std::size_t start = line.find(" - ") + 3;
            messages.push_back(line.substr(start, line.size() - start - 1));
        }
        return messages;
    }

    // "name: reason", or "none".
    static std::string exceptionOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const platform::Exception& exception) {
            return exception.name() + ": " + exception.reason();
        }
        return "none";
    }

    ScopedPlatform platform_;
    RecordingConsole console_;
    std::shared_ptr<RecordingLogFile> logFile_ = std::make_shared<RecordingLogFile>();
    TempFolder folder_;
};

}  // namespace quillmoor::test
