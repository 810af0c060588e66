// Starts the tool that writes blocks, with the fewest possible system calls.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "bench/task/blocks.h"

namespace quillmoor::bench {

class BareWriter {
  public:
    // Has `tool` write `size` bytes, a multiple of the block size. Aborts if it cannot be started.
    BareWriter(std::string tool, std::size_t size) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) std::abort();
        ::fcntl(ends[0], F_SETPIPE_SZ, 1 << 20);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::string count = std::to_string(size / kBlockSize);
        char* arguments[] = {tool.data(), count.data(), nullptr};
        if (::posix_spawn(&pid_, tool.c_str(), &actions, nullptr, arguments, environ) != 0)
            std::abort();
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        output_ = ends[0];
    }
    ~BareWriter() {
        ::close(output_);
        ::waitpid(pid_, nullptr, 0);
    }
    BareWriter(const BareWriter&) = delete;
    BareWriter& operator=(const BareWriter&) = delete;

    int output() const { return output_; }

  private:
    pid_t pid_ = -1;
    int output_ = -1;
};

}  // namespace quillmoor::bench
