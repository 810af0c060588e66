// A client of the library for the tests of administrator rights. It reads commands from its
// standard input, one a line, the words separated by tabs, and answers each with one line. A line
// end inside of a word is given as a record separator.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "auth/KXAuthorization.h"
#include "bench/support/table.h"
#include "platform/authorization.h"
#include "platform/platform.h"
#include "tests/elevation/probe_attacks.h"

namespace quillmoor {
namespace {

using Clock = std::chrono::steady_clock;
using platform::AuthorizationItem;
using platform::AuthorizationItemSet;
using platform::AuthorizationStatus;

constexpr platform::AuthorizationFlags kExtend =
    platform::kAuthorizationFlagExtendRights | platform::kAuthorizationFlagPreAuthorize;

platform::Authorization& services() {
    return *platform::native().authorization;
}

platform::AuthorizationRef reference = nullptr;

double microseconds(const std::function<void()>& work) {
    const auto begin = Clock::now();
    work();
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

// The status, and how long it took.
std::string copyRights(const AuthorizationItemSet& environment,
                       platform::AuthorizationFlags flags) {
    const auto begin = Clock::now();
    AuthorizationStatus status = services().create(std::nullopt, environment,
                                                   platform::kAuthorizationFlagDefaults, reference);
    if (status == platform::kAuthorizationSuccess) {
        const std::vector<AuthorizationItem> rights = {
            {platform::kAuthorizationRightAdmin, std::nullopt, 0}};
        status = services().copyRights(reference, rights, environment, flags);
    }
    const std::chrono::duration<double> taken = Clock::now() - begin;
    return std::to_string(status) + " " + std::to_string(taken.count());
}

std::string credentials(const StringList& words) {
    const std::vector<AuthorizationItem> environment = {
        {platform::kAuthorizationEnvironmentUsername, words.at(1), 0},
        {platform::kAuthorizationEnvironmentPassword, words.at(2), 0}};
    return copyRights(environment, kExtend);
}

std::string dialog(const StringList&) {
    return copyRights(std::nullopt, platform::kAuthorizationFlagInteractionAllowed | kExtend);
}

std::string unasked(const StringList&) {
    return copyRights(std::nullopt, kExtend);
}

std::string release(const StringList&) {
    const AuthorizationStatus status =
        services().free(reference, platform::kAuthorizationFlagDefaults);
    reference = nullptr;
    return std::to_string(status);
}

// The status, and what the tool wrote, in hexadecimal digits.
std::string execute(const StringList& words) {
    std::shared_ptr<platform::AuthorizedToolStream> stream;
    const StringList arguments(words.begin() + 2, words.end());
    const AuthorizationStatus status = services().executeWithPrivileges(
        reference, words.at(1), platform::kAuthorizationFlagDefaults, arguments, stream);
    std::string line = std::to_string(status) + " ";
    if (status != platform::kAuthorizationSuccess) return line;
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (int byte = stream->readCharacter(); byte >= 0; byte = stream->readCharacter()) {
        line += kDigits[static_cast<std::size_t>(byte) >> 4];
        line += kDigits[static_cast<std::size_t>(byte) & 15];
    }
    return line;
}

// Microseconds from the call to its answer, of a tool with rights and of a bare start of the same.
std::string compare(const StringList& words) {
    std::vector<double> ours, bare;
    for (int left = std::stoi(words.at(1)); left > 0; --left) {
        ours.push_back(microseconds([] {
            if (KXAuthorization::sharedController()->authExecTask("/bin/true", {}) != 0)
                std::abort();
        }));
        pid_t child = -1;
        bare.push_back(microseconds([&child] {
            char tool[] = "/bin/true";
            char* const arguments[] = {tool, nullptr};
            if (::posix_spawn(&child, tool, nullptr, nullptr, arguments, environ) != 0)
                std::abort();
        }));
        ::waitpid(child, nullptr, 0);
    }
    return std::to_string(bench::median(ours)) + " " + std::to_string(bench::median(bare));
}

// The rights session and its file operations.
std::string session(const StringList& words) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    const std::string& call = words.at(1);
    const auto path = [&](std::size_t index) { return OptionalPath(words.at(index)); };
    if (call == "start") return session.authStart() ? "YES" : "NO";
    if (call == "startWithUser")
        return session.authStartWithUser(words.at(2), words.at(3)) ? "YES" : "NO";
    if (call == "isAuthorized") return session.isAuthorized() ? "YES" : "NO";
    if (call == "end") return session.authEnd(), "ended";
    if (call == "remove") return session.authRemoveFile(path(2)) ? "YES" : "NO";
    if (call == "trash") return session.authTrashFile(path(2)) ? "YES" : "NO";
    if (call == "move") return session.authMoveFile(path(2), path(3)) ? "YES" : "NO";
    if (call == "copy") return session.authCopyFile(path(2), path(3)) ? "YES" : "NO";
    if (call == "create") return session.authCreateDir(path(2)) ? "YES" : "NO";
    return "unknown";
}

constexpr char kLineEnd = '\x1e';

StringList wordsOf(const std::string& line) {
    StringList words(1);
    for (const char letter : line) {
        if (letter == '\t')
            words.emplace_back();
        else
            words.back() += letter == kLineEnd ? '\n' : letter;
    }
    return words;
}

int serve() {
    const std::map<std::string, std::string (*)(const StringList&)> commands = {
        {"credentials", credentials},
        {"dialog", dialog},
        {"unasked", unasked},
        {"free", release},
        {"execute", execute},
        {"compare", compare},
        {"session", session},
        {"rightful", probe::askRightfully},
        {"forked", probe::askFromForkedChild},
        {"thief", probe::askFromThief},
        {"keep", probe::keepInForkedChild}};
    std::cout << "ready " << ::getpid() << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
        const StringList words = wordsOf(line);
        const auto command = commands.find(words.front());
        std::cout << (command == commands.end() ? "unknown" : command->second(words)) << std::endl;
    }
    return 0;
}

}  // namespace
}  // namespace quillmoor

int main() {
    return quillmoor::serve();
}
