#include "quillmoor/platform/linux/authorization/polkit/polkit_conversation_linux.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// A program that does not stop writing must not use up the memory.
constexpr std::size_t kLongestText = 65536;

}  // namespace

PolkitConversation::~PolkitConversation() {
    // Not only closed, since a child made by fork may have the socket as well.
    ::shutdown(socket_.get(), SHUT_RDWR);
    // A missing answer would count as a second failure of the user.
    if (program_ && outcome_ != Outcome::Granted) program_->kill();
}

bool PolkitConversation::say(std::string_view text) {
    // Without a signal when the program has ended. One call is enough: the socket's buffer is far
    // larger.
    ssize_t sent = 0;
    do
        sent = posix::systemCalls().send(socket_.get(), text.data(), text.size(),
                                         MSG_NOSIGNAL | MSG_DONTWAIT);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(text.size());
}

PolkitConversation::Outcome PolkitConversation::proceed() {
    std::array<char, 4096> bytes;
    while (outcome_ == Outcome::Undecided) {
        const ssize_t count =
            posix::systemCalls().recv(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        if (count > 0)
            outcome_ = hear({bytes.data(), static_cast<std::size_t>(count)});
        else if (count == 0 || errno == ECONNRESET)
            // ECONNRESET is the end as well: the program ended and left bytes unread.
            outcome_ = wasAsked_ ? Outcome::Refused : Outcome::Failed;
        else
            outcome_ = Outcome::Failed;
    }
    return outcome_;
}

PolkitConversation::Outcome PolkitConversation::hear(std::string_view text) {
    heard_ += text;
    if (heard_.size() > kLongestText) return Outcome::Refused;
    Outcome outcome = Outcome::Undecided;
    for (std::size_t end = 0;
         outcome == Outcome::Undecided && (end = heard_.find('\n')) != std::string::npos;) {
        const std::string line = heard_.substr(0, end);
        heard_.erase(0, end + 1);
        outcome = hearLine(line);
    }
    return outcome;
}

PolkitConversation::Outcome PolkitConversation::hearLine(std::string_view line) {
    if (line == "SUCCESS") return Outcome::Granted;
    if (line.starts_with("PAM_ERROR_MSG ") || line.starts_with("PAM_TEXT_INFO "))
        return Outcome::Undecided;
    // A failure, a second prompt, or one that is not for a password.
    if (!line.starts_with("PAM_PROMPT_ECHO_OFF ") || wasAsked_) return Outcome::Refused;
    // Before the answer: from now on the user may have a failure counted.
    wasAsked_ = true;
    if (say(line_.view())) return Outcome::Undecided;
    return errno == EPIPE ? Outcome::Refused : Outcome::Failed;
}

}  // namespace quillmoor::platform::linux_::authorization
