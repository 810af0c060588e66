#include "quillmoor/platform/linux/authorization/channel/tool_stream_linux.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "quillmoor/platform/posix/ground/broken_pipe_posix.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;

// This process's ends of a tool's pipes.
struct StreamEnds {
    Descriptor toTool;
    Descriptor fromTool;
};

// poll reports a closed other end without being asked for any event.
pollfd otherEndOf(const Descriptor& end) {
    return {end.get(), 0, 0};
}

bool isOver(const Descriptor& end) {
    pollfd polled = otherEndOf(end);
    return posix::systemCalls().poll(&polled, 1, 0) > 0;
}

// The ends of released streams whose tools still run: closing them would break the tool's pipe.
class AbandonedEnds {
  public:
    void add(Descriptor end) {
        if (!end || isOver(end)) return;
        const std::lock_guard lock(mutex_);
        ends_.push_back(std::move(end));
    }

    // Waits up to `milliseconds` for a tool to close one of its ends, and closes the ends here that
    // belong to closed ones. False when there is none to wait for.
    bool closeEnded(int milliseconds) {
        const std::lock_guard lock(mutex_);
        if (ends_.empty()) return false;
        polled_.clear();
        for (const Descriptor& end : ends_) polled_.push_back(otherEndOf(end));
        if (posix::systemCalls().poll(polled_.data(), polled_.size(), milliseconds) <= 0)
            return true;
        std::size_t index = 0;
        std::erase_if(ends_,
                      [this, &index](const Descriptor&) { return polled_[index++].revents != 0; });
        return true;
    }

  private:
    std::mutex mutex_;
    std::vector<Descriptor> ends_;
    std::vector<pollfd> polled_;
};

AbandonedEnds& abandonedEnds() {
    static AbandonedEnds* const shared = new AbandonedEnds;
    return *shared;
}

// The client's ends of a tool's pipes. Reads are buffered, writes are not.
class PipeStream final : public AuthorizedToolStream {
  public:
    explicit PipeStream(StreamEnds ends) : ends_(std::move(ends)) {}
    PipeStream(const PipeStream&) = delete;
    PipeStream& operator=(const PipeStream&) = delete;

    ~PipeStream() override {
        // Not closed here: a tool that still writes would be ended by SIGPIPE.
        try {
            abandonedEnds().add(std::move(ends_.toTool));
            abandonedEnds().add(std::move(ends_.fromTool));
        } catch (const std::bad_alloc&) {
            return;  // closed early
        }
    }

    int readCharacter() override {
        if (next_ == filled_ && !fill()) return -1;
        return buffer_[next_++];
    }

    bool write(std::string_view bytes) override {
        const posix::BrokenPipeGuard guard;
        while (!bytes.empty()) {
            const ssize_t count =
                posix::systemCalls().write(ends_.toTool.get(), bytes.data(), bytes.size());
            if (count >= 0)
                bytes.remove_prefix(static_cast<std::size_t>(count));
            else if (errno != EINTR)
                return false;
        }
        return true;
    }

  private:
    bool fill() {
        if (!ends_.fromTool) return false;
        ssize_t count = 0;
        do count = posix::systemCalls().read(ends_.fromTool.get(), buffer_.data(), buffer_.size());
        while (count < 0 && errno == EINTR);
        next_ = 0;
        filled_ = count > 0 ? static_cast<std::size_t>(count) : 0;
        // At the end nothing more can come, and the descriptor is free for another tool's pipe.
        if (filled_ == 0) ends_.fromTool.reset();
        return filled_ > 0;
    }

    StreamEnds ends_;
    std::array<unsigned char, 4096> buffer_{};
    std::size_t next_ = 0;
    std::size_t filled_ = 0;
};

bool openPipe(Descriptor& reading, Descriptor& writing) {
    int ends[2];
    if (posix::systemCalls().pipe(ends) != 0) return false;
    // Both are owned before either is moved, so that a failure closes both.
    Descriptor first(ends[0]);
    Descriptor second(ends[1]);
    reading = posix::aboveStandardStreams(std::move(first));
    if (!reading) return false;
    writing = posix::aboveStandardStreams(std::move(second));
    return static_cast<bool>(writing);
}

}  // namespace

bool openWithRoom(const std::function<bool()>& open) {
    // Together five seconds.
    constexpr int kAttempts = 50;
    constexpr int kMilliseconds = 100;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (open()) return true;
        if (errno != EMFILE || !abandonedEnds().closeEnded(kMilliseconds)) return false;
    }
    return false;
}

std::optional<ToolPipes> openToolPipes() {
    // With each new tool, so that the ends for those that have ended do not add up.
    abandonedEnds().closeEnded(0);
    ToolPipes pipes;
    StreamEnds ends;
    const bool opened = openWithRoom([&pipes, &ends] {
        pipes = {};
        ends = {};
        return openPipe(pipes.input, ends.toTool) && openPipe(ends.fromTool, pipes.output);
    });
    if (!opened) return std::nullopt;
    pipes.stream = std::make_shared<PipeStream>(std::move(ends));
    return pipes;
}

}  // namespace quillmoor::platform::linux_::authorization
