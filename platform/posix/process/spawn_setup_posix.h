// The actions and attributes of posix_spawn(3).
#pragma once

#include <fcntl.h>
#include <spawn.h>

#include <csignal>
#include <cstring>

namespace quillmoor::platform::posix {

inline constexpr char kNullDevice[] = "/dev/null";

// The steps between the child's start and its program's, in the order in which they were added.
class SpawnActions {
  public:
    SpawnActions() : error_(::posix_spawn_file_actions_init(&actions_)) {}
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    void duplicate(int source, int number) {
        note(::posix_spawn_file_actions_adddup2(&actions_, source, number));
    }
    void open(int number, const char* path) {
        note(::posix_spawn_file_actions_addopen(&actions_, number, path, O_RDWR, 0));
    }
    // Records the result of a step that was added through get(). The first error is kept.
    void note(int error) {
        if (error_ == 0) error_ = error;
    }

    int error() const { return error_; }
    posix_spawn_file_actions_t* get() { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
    int error_;
};

enum class SpawnSession { Inherited, Own };

// Default signals and an empty mask.
class SpawnAttributes {
  public:
    explicit SpawnAttributes(SpawnSession session) : error_(::posix_spawnattr_init(&attributes_)) {
        sigset_t none;
        ::sigemptyset(&none);
        // Every bit, also those of the signals that the threads library reserves, which sigfillset
        // leaves out.
        sigset_t all;
        std::memset(&all, 0xff, sizeof all);
        int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
        if (session == SpawnSession::Own) flags |= POSIX_SPAWN_SETSID;
        if (error_ == 0) error_ = ::posix_spawnattr_setsigmask(&attributes_, &none);
        if (error_ == 0) error_ = ::posix_spawnattr_setsigdefault(&attributes_, &all);
        if (error_ == 0)
            error_ = ::posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
    }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    int error() const { return error_; }
    posix_spawnattr_t* get() { return &attributes_; }
    const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
    int error_;
};

}  // namespace quillmoor::platform::posix
