#include "quillmoor/platform/linux/authorization/launch/prompt_answers_linux.h"

#include <sys/socket.h>
#include <sys/types.h>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// A program that does not stop writing must not use up the memory.
constexpr std::size_t kLongestText = 65536;

}  // namespace

void PromptAnswers::await(std::vector<pollfd>& polled) const {
    polled.push_back({texts_, POLLIN, 0});
}

bool PromptAnswers::proceed(const LaunchChild&) {
    if (texts_ < 0 || !isReadable(texts_, std::chrono::milliseconds(0))) return true;
    const std::optional<std::string> piece = readPiece(texts_);
    if (piece) return hear(*piece);
    // poll(2) ignores it from now on.
    texts_ = -1;
    return true;
}

bool PromptAnswers::hear(std::string_view text) {
    heard_ += text;
    if (heard_.size() > kLongestText) return false;
    while (answered_ < prompts_.size()) {
        const std::string& prompt = prompts_[answered_];
        const std::size_t at = heard_.find(prompt);
        if (at == std::string::npos) return true;
        // So that the same prompt is recognised when it appears again.
        heard_.erase(0, at + prompt.size());
        ++answered_;
        if (!answer()) return false;
    }
    return heard_.find(prompts_.back()) == std::string::npos;
}

// To a socket, since writing to a program that has ended must not raise a signal.
bool PromptAnswers::answer() {
    const std::string_view line = line_.view();
    return posix::systemCalls().send(input_, line.data(), line.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(line.size());
}

}  // namespace quillmoor::platform::linux_::authorization
