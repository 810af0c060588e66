#include "host/script/script.h"

#include <QProcess>
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <functional>
#include <optional>

#include "host/ground/display_text.h"
#include "host/ground/host_error.h"
#include "quillmoor/base/strings.h"

namespace quillmoor::host {
namespace {

using Kind = ScriptStep::Kind;
using std::chrono::milliseconds;

// Where the step gives none.
constexpr milliseconds kLongestWaitForFile{10'000};

// The text with each ${NAME} replaced by the variable's value.
std::string expanded(std::string_view text) {
    std::string result;
    for (std::size_t begin; (begin = text.find("${")) != std::string_view::npos;) {
        const std::size_t end = text.find('}', begin);
        if (end == std::string_view::npos) throw HostError("“${” without “}”");
        const std::string name(text.substr(begin + 2, end - begin - 2));
        const char* value = std::getenv(name.c_str());
        if (value == nullptr) throw HostError("the environment has no variable " + inQuotes(name));
        // The value is not expanded again, whatever it contains.
        result += text.substr(0, begin);
        result += value;
        text.remove_prefix(end + 1);
    }
    return result += text;
}

// The first word and the rest, both trimmed.
std::pair<std::string, std::string_view> firstWord(std::string_view text) {
    text = trimWhitespaceAndNewlines(text);
    const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
    return {std::string(text.substr(0, end)), trimWhitespaceAndNewlines(text.substr(end))};
}

// Splits at spaces as a shell does; only double quotes keep words together.
std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words;
    for (const QString& word : QProcess::splitCommand(shown(text)))
        words.push_back(expanded(bytesOf(word)));
    return words;
}

milliseconds timeOf(const std::string& word) {
    int value = -1;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size() || value < 0)
        throw HostError(inQuotes(word) + " is not a number of milliseconds");
    return milliseconds(value);
}

// These read what follows a step's words into the step, and throw if it does not fit.
void needNothing(ScriptStep&, std::string_view rest) {
    if (!rest.empty()) throw HostError("nothing may follow, but " + inQuotes(rest) + " does");
}

void needObject(ScriptStep& step, std::string_view rest) {
    const auto [object, more] = firstWord(rest);
    if (object.empty()) throw HostError("the name of an interface element is missing");
    needNothing(step, more);
    step.object = expanded(object);
}

void needText(ScriptStep& step, std::string_view rest) {
    step.text = expanded(rest);
    if (step.text.empty()) throw HostError("a text is missing");
}

// The text may be empty: an element can be expected to show none.
void needObjectAndText(ScriptStep& step, std::string_view rest) {
    const auto [object, text] = firstWord(rest);
    needObject(step, object);
    step.text = expanded(text);
}

void needTime(ScriptStep& step, std::string_view rest) {
    step.time = timeOf(std::string(rest));
}

void needPath(ScriptStep& step, std::string_view rest) {
    step.words = wordsOf(rest);
    if (step.words.empty() || step.words.size() > 2)
        throw HostError(
            "a path and perhaps a number of milliseconds must follow; a path with "
            "spaces is put in double quotes");
    step.time = step.words.size() == 2 ? timeOf(step.words[1]) : kLongestWaitForFile;
}

void needCommand(ScriptStep& step, std::string_view rest) {
    step.words = wordsOf(rest);
    if (step.words.empty()) throw HostError("a command is missing");
}

// A script must not write outside the folder for pictures.
void needPictureName(ScriptStep& step, std::string_view rest) {
    needText(step, rest);
    if (step.text.find('/') != std::string::npos)
        throw HostError(inQuotes(step.text) + " is not a plain name for a picture");
}

// The words of a step, and the reader of the rest of its line.
struct Rule {
    const char* words;
    Kind kind;
    void (*read)(ScriptStep& step, std::string_view rest);
};

// The first rule that fits is taken: "wait file" must be before "wait".
constexpr std::array<Rule, 14> kRules{{
    {"continue", Kind::Continue, needNothing},
    {"back", Kind::Back, needNothing},
    {"press", Kind::Press, needObject},
    {"expect pane", Kind::ExpectPane, needText},
    {"expect visible", Kind::ExpectVisible, needObject},
    {"expect hidden", Kind::ExpectHidden, needObject},
    {"expect text", Kind::ExpectText, needObjectAndText},
    {"wait file", Kind::WaitForFile, needPath},
    {"wait gone", Kind::WaitForGone, needPath},
    {"wait", Kind::Wait, needTime},
    {"run", Kind::Run, needCommand},
    {"snapshot", Kind::Snapshot, needPictureName},
    {"note", Kind::Note, needText},
    {"quit", Kind::Quit, needNothing},
}};

// Returns what follows the rule's words, if `line` begins with them. Word by word, so that any
// number of spaces may be between them.
std::optional<std::string_view> restAfter(std::string_view words, std::string_view line) {
    while (!words.empty()) {
        const auto [expected, more] = firstWord(words);
        const auto [found, rest] = firstWord(line);
        if (expected != found) return std::nullopt;
        words = more;
        line = rest;
    }
    return line;
}

ScriptStep parseLine(std::string_view line, int number) {
    for (const Rule& rule : kRules) {
        const auto rest = restAfter(rule.words, line);
        if (!rest) continue;
        ScriptStep step{rule.kind, number, {}, {}, {}};
        rule.read(step, *rest);
        return step;
    }
    throw HostError("there is no step " + inQuotes(line));
}

}  // namespace

std::vector<ScriptStep> parseScript(std::string_view script) {
    std::vector<ScriptStep> steps;
    for (int number = 1; !script.empty(); ++number) {
        const std::size_t end = std::min(script.find('\n'), script.size());
        // Trimming also removes the carriage return of a script from another system.
        const auto line = trimWhitespaceAndNewlines(script.substr(0, end));
        script.remove_prefix(std::min(end + 1, script.size()));
        if (line.empty() || line.front() == '#') continue;
        try {
            steps.push_back(parseLine(line, number));
        } catch (const HostError& error) {
            throw HostError(std::to_string(number) + ": " + error.what());
        }
    }
    return steps;
}

}  // namespace quillmoor::host
