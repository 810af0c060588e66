// What the tests of the task runner in the background share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "quillmoor/task/KXTaskEx.h"
#include "tests/children/child_tools.h"
#include "tests/task/task_test.h"

namespace quillmoor::test {

// Records what it receives, on any thread.
class Delegate {
  public:
    // Called with each chunk, after it was recorded.
    std::function<void(const Data& data, KXTaskEx& task)> meanwhile = [](const Data&, KXTaskEx&) {};

    void taskReturned(const Data& data, KXTaskEx& task, const KXTaskEx::Object& object) {
        {
            const std::lock_guard lock(mutex_);
            onMainThread_ = onMainThread_ || platform::current().mainThread->isMainThread();
            object_ = object;
            task_ = &task;
            if (data.empty())
                ++ends_;
            else
                ++chunks_;
            text_ += data.view();
        }
        meanwhile(data, task);
        changed_.notify_all();
    }
    bool waitForEnds(int count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return ends_ >= count; });
    }
    bool waitForChunks(int count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return chunks_ >= count; });
    }
    std::string text() const {
        const std::lock_guard lock(mutex_);
        return text_;
    }
    int ends() const {
        const std::lock_guard lock(mutex_);
        return ends_;
    }
    int chunks() const {
        const std::lock_guard lock(mutex_);
        return chunks_;
    }
    bool wasOnMainThread() const {
        const std::lock_guard lock(mutex_);
        return onMainThread_;
    }
    KXTaskEx* task() const {
        const std::lock_guard lock(mutex_);
        return task_;
    }
    KXTaskEx::Object object() const {
        const std::lock_guard lock(mutex_);
        return object_;
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string text_;
    int ends_ = 0;
    int chunks_ = 0;
    bool onMainThread_ = false;
    KXTaskEx* task_ = nullptr;
    KXTaskEx::Object object_;
};

inline KXTaskEx::Selector selectorOf(const std::shared_ptr<Delegate>& delegate) {
    return
        [raw = delegate.get()](const Data& data, KXTaskEx& task, const KXTaskEx::Object& object) {
            raw->taskReturned(data, task, object);
        };
}

class AsyncTaskTest : public TaskTest {
  protected:
    void start(const std::string& tool, StringList arguments = {},
               const KXTaskEx::Object& object = nullptr) {
        runner_->asyncDataFromTask(tool, arguments, delegate_, selectorOf(delegate_), object);
    }
    // Whether the reader has ended and the instance is idle.
    bool isIdle() {
        return eventually([this] { return runner_->theTask() == nullptr; }) &&
               eventually([this] { return runner_.use_count() == 1; });
    }

    std::shared_ptr<Delegate> delegate_ = std::make_shared<Delegate>();
    std::shared_ptr<KXTaskEx> runner_ = KXTaskEx::create();
};

}  // namespace quillmoor::test
