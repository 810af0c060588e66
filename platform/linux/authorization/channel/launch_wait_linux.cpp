#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;
using Clock = std::chrono::steady_clock;

// More than any launcher writes; the rest is discarded, so that memory is bounded.
constexpr std::size_t kLongestComplaint = 16384;

class Wait {
  public:
    Wait(Rendezvous* rendezvous, LaunchChild& launcher, const Descriptor& errors,
         Conversation* conversation)
        : rendezvous_(rendezvous), launcher_(launcher), conversation_(conversation) {
        polled_ = {pollfd{rendezvous ? rendezvous->descriptor() : -1, POLLIN, 0},
                   pollfd{launcher.exitDescriptor(), POLLIN, 0}, pollfd{errors.get(), POLLIN, 0}};
    }

    LaunchAttempt run() {
        while (step()) {
        }
        return std::move(attempt_);
    }

  private:
    // Indices of polled_; from kConversation on, they are the conversation's.
    enum { kConnection, kExit, kErrors, kConversation };

    bool came(std::size_t which) const { return polled_[which].revents != 0; }

    // False when the wait is over.
    bool step() {
        polled_.resize(kConversation);
        if (conversation_) conversation_->await(polled_);
        if (posix::systemCalls().poll(polled_.data(), polled_.size(),
                                      conversation_ ? millisecondsLeft() : -1) < 0) {
            if (errno != EINTR) return abandon();
            return true;
        }
        if (came(kErrors)) noteComplaint();
        // Before the end is looked at: a helper may have connected although its launcher has ended
        // meanwhile.
        if (came(kConnection) && acceptHelper()) return false;
        if (conversation_ && (!conversation_->proceed(launcher_) || Clock::now() >= deadline_))
            return abandon();
        if (came(kExit)) return noteEnd();
        return true;
    }

    int millisecondsLeft() const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
        return static_cast<int>(std::max(left.count(), std::chrono::milliseconds::rep{0}));
    }

    bool acceptHelper() {
        attempt_.channel = rendezvous_->accept(launcher_.pid());
        return attempt_.channel.has_value();
    }

    void noteComplaint() {
        const std::optional<std::string> piece = readPiece(polled_[kErrors].fd);
        if (!piece)
            // poll(2) ignores it from now on; the end of a pipe would be reported again and again.
            polled_[kErrors].fd = -1;
        // Read on all the same: a launcher whose pipe is full would not continue.
        else if (attempt_.complaint.size() < kLongestComplaint)
            attempt_.complaint += *piece;
    }

    // Killed: a launcher that is asked to end, or that finds the end of its input, counts a second
    // failure of the user.
    bool abandon() {
        launcher_.kill();
        return false;
    }

    // Also reads what the launcher wrote before it ended. Not to the end of the pipe, which other
    // processes may keep open.
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
    std::vector<pollfd> polled_;
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

bool isReadable(int descriptor, std::chrono::milliseconds timeout) {
    pollfd polled{descriptor, POLLIN, 0};
    int count = 0;
    do count = posix::systemCalls().poll(&polled, 1, static_cast<int>(timeout.count()));
    while (count < 0 && errno == EINTR);
    return count > 0;
}

std::optional<std::string> readPiece(int descriptor) {
    std::array<char, 4096> bytes;
    ssize_t count = 0;
    do count = posix::systemCalls().read(descriptor, bytes.data(), bytes.size());
    while (count < 0 && errno == EINTR);
    if (count <= 0) return std::nullopt;
    return std::string(bytes.data(), static_cast<std::size_t>(count));
}

}  // namespace quillmoor::platform::linux_::authorization
