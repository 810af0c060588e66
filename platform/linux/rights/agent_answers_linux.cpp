#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/linux/rights/agent_linux.h"

namespace quillmoor::platform::linux_::rights {
namespace {

constexpr std::string_view kChosen = "Authenticating as: ";
constexpr std::string_view kChoices = "Multiple identities can be used for authentication:";
constexpr std::string_view kChoose = "Choose identity to authenticate as (";
constexpr std::string_view kPasswordPrompt = "assword: ";
constexpr std::size_t kLongestText = 65536;
// For how long the echo may be off before the prompt is there: what is shown takes its time.
constexpr int kUnclearTicks = 400;

// The line that begins at `from`, without its end; nil while it is not complete.
OptionalString lineAt(const std::string& text, std::size_t from) {
    const std::size_t end = text.find('\n', from);
    if (end == std::string::npos) return std::nullopt;
    std::string line = text.substr(from, end - from);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

// The login name in "Full Name (login)" or "login". A full name may hold anything, also brackets.
std::string loginName(const std::string& identity) {
    if (identity.empty() || identity.back() != ')') return identity;
    const std::size_t open = identity.rfind('(');
    return open == std::string::npos ? identity
                                     : identity.substr(open + 1, identity.size() - open - 2);
}

bool endsWithPrompt(const std::string& text) {
    return text.size() >= kPasswordPrompt.size() &&
           text.compare(text.size() - kPasswordPrompt.size(), kPasswordPrompt.size(),
                        kPasswordPrompt) == 0;
}

// The number that stands before `user` in the list of choices; nil when it is not in there.
OptionalString choiceOf(const std::string& user, const std::string& list) {
    for (std::size_t at = list.find('\n') + 1; at < list.size(); at = list.find('\n', at) + 1) {
        const OptionalString line = lineAt(list, at);
        if (!line) break;
        // " 1.  Full Name (login)"
        const std::size_t number = line->find_first_not_of(' ');
        const std::size_t stop = line->find(".  ");
        if (number == std::string::npos || stop == std::string::npos || stop < number) continue;
        if (loginName(line->substr(stop + 3)) == user) return line->substr(number, stop - number);
    }
    return std::nullopt;
}

}  // namespace

bool AgentAnswers::hear(std::string_view text) {
    heard_ += text;
    if (heard_.size() > kLongestText) return false;
    switch (stage_) {
        case Stage::Identity:
            return settleIdentity();
        case Stage::Password:
            return answerPassword();
        case Stage::Answered:
            return !endsWithPrompt(heard_);  // one attempt is all there is
    }
    return false;
}

bool AgentAnswers::settleIdentity() {
    if (const std::size_t question = heard_.find(kChoose); question != std::string::npos)
        return chooseIdentity(question);
    const std::size_t chosen = heard_.find(kChosen);
    const OptionalString identity =
        chosen == std::string::npos ? std::nullopt : lineAt(heard_, chosen + kChosen.size());
    if (!identity) return true;
    if (loginName(*identity) != user_) return false;
    heard_.erase(0, heard_.find('\n', chosen) + 1);
    stage_ = Stage::Password;
    return answerPassword();
}

bool AgentAnswers::chooseIdentity(std::size_t question) {
    const std::size_t list = heard_.find(kChoices);
    if (heard_.find("): ", question) == std::string::npos) return true;
    if (list == std::string::npos || list > question) return false;
    const OptionalString choice = choiceOf(user_, heard_.substr(list, question - list));
    if (!choice) return false;
    heard_.clear();
    stage_ = Stage::Password;
    return type(*choice + "\n");
}

// Something else than a password is asked for when the echo stays off and no such prompt comes.
bool AgentAnswers::answerPassword() {
    if (terminal_.echoes()) return true;
    if (!endsWithPrompt(heard_)) return ++unclearTicks_ < kUnclearTicks;
    heard_.clear();
    stage_ = Stage::Answered;
    return type(line_.view());
}

bool AgentAnswers::type(std::string_view line) {
    while (!line.empty()) {
        const ssize_t count = ::write(terminal_.descriptor(), line.data(), line.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        line.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace quillmoor::platform::linux_::rights
