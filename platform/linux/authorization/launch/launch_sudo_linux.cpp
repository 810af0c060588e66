#include "quillmoor/platform/linux/authorization/launch/launch_sudo_linux.h"

#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "quillmoor/platform/linux/authorization/launch/launch_programs_linux.h"
#include "quillmoor/platform/linux/authorization/launch/prompt_answers_linux.h"
#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;

constexpr char kSuPrompt[] = "assword: ";

// One launch of a program that reads a password from its standard input.
class PasswordLaunch {
  public:
    PasswordLaunch(std::string path, StringList arguments, StringList prompts)
        : prompts_(std::move(prompts)) {
        setup_.path = std::move(path);
        setup_.arguments = std::move(arguments);
        setup_.environment = plainEnvironment();
    }

    LaunchAttempt run(Rendezvous* rendezvous, std::string_view password, bool& wasAsked) {
        // Not a pipe: writing to a program that has ended must not raise a signal.
        int ends[2] = {-1, -1};
        if (posix::systemCalls().socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            return {};
        const Descriptor ours = posix::aboveStandardStreams(Descriptor(ends[0]));
        Descriptor theirs = posix::aboveStandardStreams(Descriptor(ends[1]));
        Pipe errors = Pipe::open();
        if (!ours || !theirs || !errors.read) return {};
        // sudo -S and su write their prompts to standard error.
        setup_.descriptors = {theirs.get(), -1, errors.write.get(), -1};
        const std::unique_ptr<LaunchChild> launcher = LaunchChild::start(setup_);
        // Only the program has it now: after its end, sending to it fails.
        theirs.reset();
        errors.write.reset();
        if (!launcher) return {};

        PromptAnswers answers(errors.read.get(), ours.get(), std::move(prompts_), password);
        LaunchAttempt attempt = waitForHelper(rendezvous, *launcher, Descriptor(), &answers);
        wasAsked = answers.wasAsked();
        attempt.complaint = answers.rest();
        return attempt;
    }

  private:
    LaunchSetup setup_;
    StringList prompts_;
};

// A word that occurs in no other text, so that only our prompt is answered; empty when the system
// has no random bytes.
std::string randomWord() {
    std::array<std::uint8_t, 12> bytes{};
    if (linuxCalls().getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        return {};
    constexpr char kDigits[] = "0123456789abcdef";
    std::string word = "kx-";
    for (const std::uint8_t byte : bytes) {
        word += kDigits[byte >> 4];
        word += kDigits[byte & 15];
    }
    return word;
}

StringList joined(StringList first, const StringList& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// As "$0" and "$@" the arguments reach the shell unparsed and need no quoting. A shell of our own
// choice, since the user's may understand another language.
StringList suArguments(const std::string& user, const std::string& script) {
    return {"-s", "/bin/sh", "-c", script, "--", user};
}

std::optional<PasswordLaunch> launchFor(const posix::User& user, const StringList& helper) {
    const OptionalPath sudo = systemProgram(kSudo);
    const OptionalPath su = systemProgram(kSu);
    const std::string word = randomWord();
    if (word.empty()) return std::nullopt;
    const std::string prompt = word + "-password:";
    if (user.id == 0) {
        if (!su) return std::nullopt;
        return PasswordLaunch(*su, joined(suArguments(user.name, "exec \"$0\" \"$@\""), helper),
                              {kSuPrompt});
    }
    if (!sudo) return std::nullopt;
    // -k: the password is verified, also after a recent authentication.
    if (user.id == ::getuid())
        return PasswordLaunch(*sudo, joined({"-S", "-k", "-p", prompt, "-u", "root", "--"}, helper),
                              {prompt});
    if (!su) return std::nullopt;
    const std::string script =
        "exec " + *sudo + " -S -k -p " + prompt + " -u root -- \"$0\" \"$@\"";
    return PasswordLaunch(*su, joined(suArguments(user.name, script), helper), {kSuPrompt, prompt});
}

}  // namespace

AuthorizationStatus launchWithPassword(Rendezvous& rendezvous, const posix::User& user,
                                       std::string_view password, std::optional<Channel>& channel,
                                       bool& wasAsked) {
    std::optional<PasswordLaunch> launch = launchFor(user, rendezvous.helperCommand());
    if (!launch) return kAuthorizationInteractionNotAllowed;
    channel = launch->run(&rendezvous, password, wasAsked).channel;
    return channel ? kAuthorizationSuccess : kAuthorizationDenied;
}

// Determined by a word in the output, since the host may have collected the status. su asks every
// user but root, also for the user's own password, which makes it a check of one.
bool isPasswordOf(const posix::User& user, std::string_view password) {
    const OptionalPath su = systemProgram(kSu);
    const std::string word = randomWord();
    if (!su || word.empty()) return false;
    bool wasAsked = false;
    // To standard error, which is the one stream that is read.
    PasswordLaunch launch(*su, suArguments(user.name, "echo " + word + " >&2"), {kSuPrompt});
    const LaunchAttempt attempt = launch.run(nullptr, password, wasAsked);
    return wasAsked && attempt.complaint.find(word) != std::string::npos;
}

}  // namespace quillmoor::platform::linux_::authorization
