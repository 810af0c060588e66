// Scripts that operate the window: one step on each line; # begins a comment line.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace quillmoor::host {

struct ScriptStep {
    enum class Kind {
        Continue,
        Back,
        Press,          // object
        ExpectPane,     // text: the title
        ExpectVisible,  // object
        ExpectHidden,   // object
        ExpectText,     // object, text
        Wait,           // time
        WaitForFile,    // words[0]: the path, time: the longest wait
        WaitForGone,    // as WaitForFile
        Run,            // words: the program and its arguments
        Snapshot,       // text: the picture's name without extension
        Note,           // text
        Quit
    };
    Kind kind;
    int line;
    std::string object;
    std::string text;
    std::vector<std::string> words;
    std::chrono::milliseconds time{0};
};

// Parses a script into its steps. ${NAME} is replaced by the environment variable's value after a
// line has been split into words, so that a value never becomes several words. Throws HostError,
// which begins with the line's number ("3: …"), if a step is unknown or a variable is not set.
std::vector<ScriptStep> parseScript(std::string_view script);

}  // namespace quillmoor::host
