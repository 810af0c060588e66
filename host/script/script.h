// Scripts that drive the window: one step on a line, # begins a comment line.
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
        WaitForGone,    // the same
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

// Splits a script into its steps; ${NAME} is replaced by the environment's value after a line has
// been split into words, so that a value never becomes several words. Throws HostError that begins
// with the line's number ("3: …") when a step is not understood or a variable is not set.
std::vector<ScriptStep> parseScript(std::string_view script);

}  // namespace quillmoor::host
