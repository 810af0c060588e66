#include "platform/linux/rights/launch_wait_linux.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "platform/posix/standard_streams_posix.h"
#include "platform/posix/system_calls_posix.h"

namespace quillmoor::platform::linux_::rights {
namespace {

using posix::Descriptor;
using Clock = std::chrono::steady_clock;

constexpr int kTickMilliseconds = 5;
// More than any launcher says that has something to say.
constexpr std::size_t kLongestComplaint = 16384;

class Wait {
  public:
    Wait(Rendezvous* rendezvous, LaunchChild& launcher, const Descriptor& errors,
         Conversation* conversation)
        : rendezvous_(rendezvous), launcher_(launcher), conversation_(conversation) {
        polled_ = {pollfd{rendezvous ? rendezvous->descriptor() : -1, POLLIN, 0},
                   pollfd{launcher.exitDescriptor(), POLLIN, 0}, pollfd{errors.get(), POLLIN, 0},
                   pollfd{conversation ? conversation->descriptor() : -1, POLLIN, 0}};
    }

    LaunchAttempt run() {
        while (step()) {
        }
        return std::move(attempt_);
    }

  private:
    enum { kKnock, kExit, kErrors, kTalk };

    bool came(std::size_t which) const { return polled_[which].revents != 0; }

    // NO when the waiting is over.
    bool step() {
        if (posix::systemCalls().poll(polled_.data(), polled_.size(),
                                      conversation_ ? kTickMilliseconds : -1) < 0) {
            if (errno != EINTR) return giveUp();
            return true;
        }
        if (came(kErrors)) noteComplaint();
        if (came(kKnock) && answerKnock()) return false;
        if (conversation_ && !talk()) return giveUp();
        if (came(kExit)) return noteEnd();
        return true;
    }

    bool answerKnock() {
        attempt_.channel = rendezvous_->accept(launcher_.pid());
        return attempt_.channel.has_value();
    }

    void noteComplaint() {
        const std::optional<std::string> piece = readPiece(polled_[kErrors].fd);
        if (!piece)
            polled_[kErrors].fd = -1;
        else if (attempt_.complaint.size() < kLongestComplaint)
            attempt_.complaint += *piece;
    }

    bool talk() {
        std::optional<std::string> piece = std::string();
        if (came(kTalk)) piece = readPiece(polled_[kTalk].fd);
        if (!piece) polled_[kTalk].fd = -1;
        return Clock::now() < deadline_ && conversation_->hear(piece.value_or(std::string()));
    }

    bool giveUp() {
        launcher_.kill();
        return false;
    }

    // Also takes what the launcher wrote before it ended. Others may hold the pipe still.
    bool noteEnd() {
        for (pollfd& errors = polled_[kErrors];
             errors.fd >= 0 && posix::systemCalls().poll(&errors, 1, 0) > 0;)
            noteComplaint();
        attempt_.end = launcher_.end();
        return false;
    }

    Rendezvous* rendezvous_;
    LaunchChild& launcher_;
    Conversation* conversation_;
    std::array<pollfd, 4> polled_;
    Clock::time_point deadline_ = Clock::now() + kCredentialsTimeout;
    LaunchAttempt attempt_;
};

}  // namespace

Pipe Pipe::open() {
    int ends[2] = {-1, -1};
    if (posix::systemCalls().pipe(ends) != 0) return {};
    Pipe pipe{posix::aboveStandardStreams(Descriptor(ends[0])),
              posix::aboveStandardStreams(Descriptor(ends[1]))};
    return pipe.read && pipe.write ? std::move(pipe) : Pipe{};
}

LaunchAttempt waitForHelper(Rendezvous* rendezvous, LaunchChild& launcher, const Descriptor& errors,
                            Conversation* conversation) {
    return Wait(rendezvous, launcher, errors, conversation).run();
}

std::optional<std::string> readPiece(int descriptor) {
    std::array<char, 4096> bytes;
    ssize_t count = 0;
    do count = posix::systemCalls().read(descriptor, bytes.data(), bytes.size());
    while (count < 0 && errno == EINTR);
    if (count <= 0) return std::nullopt;
    return std::string(bytes.data(), static_cast<std::size_t>(count));
}

}  // namespace quillmoor::platform::linux_::rights
