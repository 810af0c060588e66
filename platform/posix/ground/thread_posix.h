// A thread that is started through the table of system calls.
#pragma once

#include <pthread.h>

#include <functional>
#include <optional>

namespace quillmoor::platform::posix {

// As std::thread: one that is joinable must be joined or detached before it is destroyed.
class Thread {
  public:
    Thread() = default;
    // Throws std::system_error when the system has no thread left, std::bad_alloc without memory.
    explicit Thread(std::function<void()> body);
    Thread(Thread&& other) noexcept;
    Thread& operator=(Thread&& other) noexcept;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread();

    bool joinable() const { return handle_.has_value(); }
    void join();
    void detach();

  private:
    std::optional<pthread_t> handle_;
};

}  // namespace quillmoor::platform::posix
