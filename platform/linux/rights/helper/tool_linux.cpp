#include "platform/linux/rights/helper/tool_linux.h"

#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <vector>

namespace quillmoor::platform::linux_::rights::helper {
namespace {

// Pointers into `texts`, and the null that ends them.
std::vector<char*> pointersTo(StringList& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

StringList linesOf(const Environment& environment) {
    StringList lines;
    for (const auto& [name, value] : environment)
        lines.push_back(std::string(name).append("=").append(value));
    return lines;
}

class Attributes {
  public:
    Attributes() : error_(::posix_spawnattr_init(&attributes_)) {
        sigset_t none;
        ::sigemptyset(&none);
        // Every bit, also those of the signals that the threads library keeps to itself.
        sigset_t all;
        std::memset(&all, 0xff, sizeof all);
        ::posix_spawnattr_setsigmask(&attributes_, &none);
        ::posix_spawnattr_setsigdefault(&attributes_, &all);
        ::posix_spawnattr_setflags(
            &attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    }
    ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    int error() const { return error_; }
    const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
    int error_;
};

class Actions {
  public:
    explicit Actions(const std::vector<posix::Descriptor>& descriptors)
        : error_(::posix_spawn_file_actions_init(&actions_)) {
        static_assert(kToolInput == STDIN_FILENO && kToolOutput == STDOUT_FILENO &&
                      kToolError == STDERR_FILENO);
        note(::posix_spawn_file_actions_addfchdir_np(&actions_, descriptors[kToolFolder].get()));
        for (const std::size_t stream : {kToolInput, kToolOutput, kToolError})
            note(::posix_spawn_file_actions_adddup2(&actions_, descriptors[stream].get(),
                                                    static_cast<int>(stream)));
        note(::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
    }
    ~Actions() { ::posix_spawn_file_actions_destroy(&actions_); }
    Actions(const Actions&) = delete;
    Actions& operator=(const Actions&) = delete;

    int error() const { return error_; }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    void note(int error) {
        if (error_ == 0) error_ = error;
    }

    posix_spawn_file_actions_t actions_{};
    int error_;
};

}  // namespace

int startTool(const Request& request, const Environment& environment) {
    StringList command = request.command;
    if (!command.front().starts_with('/')) return EINVAL;
    StringList lines = linesOf(environment);
    const Attributes attributes;
    const Actions actions(request.descriptors);
    if (attributes.error() != 0) return attributes.error();
    if (actions.error() != 0) return actions.error();
    pid_t tool = -1;
    return ::posix_spawn(&tool, command.front().c_str(), actions.get(), attributes.get(),
                         pointersTo(command).data(), pointersTo(lines).data());
}

}  // namespace quillmoor::platform::linux_::rights::helper
