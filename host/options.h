// The command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/window/appearance.h"

namespace quillmoor::host {

struct Options {
    std::vector<std::string> bundles;
    std::string plugins;
    std::string product;
    std::string language;
    std::string script;
    std::string pictures;
    std::string transcript;
    AppearanceMode appearance = AppearanceMode::System;
    bool strict = false;
    bool quitAfterEnter = false;
};

struct ParsedOptions {
    std::optional<Options> options;
    int exitStatus;  // if there are no options: 0 after the help, 2 after an error
};

// Prints the help on standard output and errors on standard error.
ParsedOptions parseOptions(int argc, char** argv);

}  // namespace quillmoor::host
