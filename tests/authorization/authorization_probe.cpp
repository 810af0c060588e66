// A client of the library for the tests of administrator rights. It reads commands from its
// standard input, one a line, the words separated by tabs, and writes one line for each. A newline
// inside of a word is written as a record separator.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <thread>

#include "quillmoor/base/types.h"
#include "tests/authorization/probe_attacks.h"
#include "tests/authorization/probe_authorization.h"
#include "tests/authorization/probe_files.h"
#include "tests/authorization/probe_malformed.h"
#include "tests/authorization/probe_session.h"

namespace quillmoor {
namespace {

using Command = std::string (*)(const StringList&);

std::string perform(const StringList& words);

// Runs the command that follows on another thread, which has ended when its result is written.
std::string performOnThread(const StringList& words) {
    std::string answer;
    std::thread([&] { answer = perform(StringList(words.begin() + 1, words.end())); }).join();
    return answer;
}

std::string perform(const StringList& words) {
    static const std::map<std::string, Command> commands = {
        {"credentials", probe::askWithCredentials},
        {"dialog", probe::askWithDialog},
        {"unasked", probe::askWithNeither},
        {"twice", probe::askTwice},
        {"free", probe::release},
        {"execute", probe::execute},
        {"bytes", probe::executeBytes},
        {"large", probe::executeLarge},
        {"begin", probe::begin},
        {"enter", probe::enterFolder},
        {"thread", performOnThread},
        {"session", probe::callSession},
        {"compare", probe::compareStarts},
        {"many", probe::startMany},
        {"files", probe::callFileManager},
        {"protected", probe::protectedFolders},
        {"rightful", probe::askRightfully},
        {"forked", probe::askFromForkedChild},
        {"thief", probe::askFromThief},
        {"keep", probe::keepInForkedChild},
        {"inherited", probe::socketsOfChild},
        {"request", probe::requestTool},
        {"malformations", probe::malformations},
        {"malformed", probe::sendMalformed}};
    const auto command = commands.find(words.front());
    return command == commands.end() ? "unknown" : command->second(words);
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

// The stream for results. What the library prints is redirected to the standard error.
std::FILE* takeStandardOutput() {
    std::FILE* const answers = ::fdopen(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "w");
    if (answers == nullptr || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) std::abort();
    return answers;
}

void say(std::FILE* answers, const std::string& line) {
    std::fprintf(answers, "%s\n", line.c_str());
    std::fflush(answers);
}

int serve() {
    std::FILE* const answers = takeStandardOutput();
    say(answers, "ready " + std::to_string(::getpid()));
    for (std::string line; std::getline(std::cin, line);) say(answers, perform(wordsOf(line)));
    return 0;
}

}  // namespace
}  // namespace quillmoor

int main() {
    return quillmoor::serve();
}
