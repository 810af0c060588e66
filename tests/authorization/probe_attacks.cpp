#include "tests/authorization/probe_attacks.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>

#include "quillmoor/platform/linux/authorization/channel/message_linux.h"

namespace quillmoor::probe {
namespace {

namespace authorization = platform::linux_::authorization;

constexpr int kHighestDescriptor = 256;
constexpr unsigned kKeepSeconds = 30;
constexpr int kSent = 0;
constexpr int kNotSent = 1;
constexpr int kNotStolen = 2;

// fork(2) without the library's handlers.
pid_t rawFork() {
    return static_cast<pid_t>(::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
}

int sendRequest(int channel, const std::string& tool, const StringList& arguments) {
    const auto body = authorization::encodeCommand(tool, arguments);
    const int folder = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::array<int, authorization::kRequestDescriptors> descriptors = {0, 1, 2, folder};
    const bool sent = body && authorization::sendMessage(
                                  channel, authorization::MessageKind::Request, *body, descriptors);
    return sent ? kSent : kNotSent;
}

int sendRequest(int channel, const std::string& file) {
    return sendRequest(channel, "/usr/bin/touch", {file});
}

std::string outcome(pid_t child) {
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return "failed";
    switch (WEXITSTATUS(status)) {
        case kSent:
            return "sent";
        case kNotStolen:
            return "denied";
        default:
            return "not sent";
    }
}

int steal(pid_t victim, int number) {
    const auto process = static_cast<int>(::syscall(SYS_pidfd_open, victim, 0));
    return static_cast<int>(::syscall(SYS_pidfd_getfd, process, number, 0));
}

}  // namespace

int channelDescriptor() {
    for (int number = 3; number < kHighestDescriptor; ++number) {
        ucred peer{};
        socklen_t size = sizeof peer;
        if (::getsockopt(number, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == 0 &&
            peer.pid > 0)
            return number;
    }
    return -1;
}

std::string askRightfully(const StringList& words) {
    const int channel = channelDescriptor();
    if (channel < 0) return "no channel";
    return sendRequest(channel, words.at(1)) == kSent ? "sent" : "not sent";
}

std::string askFromForkedChild(const StringList& words) {
    const int channel = channelDescriptor();
    if (channel < 0) return "no channel";
    const pid_t child = rawFork();
    if (child == 0) ::_exit(sendRequest(channel, words.at(1)));
    return outcome(child);
}

std::string askFromThief(const StringList& words) {
    const int channel = channelDescriptor();
    if (channel < 0) return "no channel";
    const pid_t victim = ::getpid();
    const pid_t child = rawFork();
    if (child == 0) {
        ::close(channel);
        const int stolen = steal(victim, channel);
        ::_exit(stolen < 0 ? kNotStolen : sendRequest(stolen, words.at(1)));
    }
    return outcome(child);
}

std::string keepInForkedChild(const StringList&) {
    const int channel = channelDescriptor();
    if (channel < 0) return "no channel";
    const pid_t child = rawFork();
    if (child == 0) {
        for (int number = 0; number < kHighestDescriptor; ++number)
            if (number != channel) ::close(number);
        ::sleep(kKeepSeconds);
        ::_exit(0);
    }
    return std::to_string(child);
}

std::string requestTool(const StringList& words) {
    const int channel = channelDescriptor();
    if (channel < 0) return "no channel";
    if (sendRequest(channel, words.at(1), {}) != kSent) return "not sent";
    authorization::MessageHeader header{};
    authorization::ReplyBody error = 0;
    if (!authorization::receiveBytes(channel, &header, sizeof header) ||
        !authorization::receiveBytes(channel, &error, sizeof error))
        return "closed";
    return std::to_string(error);
}

std::string socketsOfChild(const StringList&) {
    FILE* const child = ::popen("readlink /proc/self/fd/* 2>/dev/null", "re");
    if (child == nullptr) return "failed";
    std::string all;
    std::array<char, 512> line{};
    while (std::fgets(line.data(), line.size(), child) != nullptr) all += line.data();
    ::pclose(child);
    if (all.find("pipe:") == std::string::npos) return "failed";
    return all.find("socket:") == std::string::npos ? "none" : "some";
}

}  // namespace quillmoor::probe
