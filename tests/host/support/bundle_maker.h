// Creates bundles of the tests' plug-in.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace quillmoor::test {

// The parts of a bundle. Without any one of them it cannot be loaded.
struct BundleParts {
    std::map<std::string, std::string> info{{"CFBundleIdentifier", "com.example.recorder"},
                                            {"CFBundleExecutable", "Recorder"},
                                            {"NSMainNibFile", "Recorder"}};
    std::string interfaceFile;               // "" leaves it out
    std::string program = RECORDING_PLUGIN;  // "" leaves it out
};

// Returns an interface file whose topmost widget names the pane's class. It has a heading, a text
// and a button of action "uninstall:", all hidden; further, visible buttons are named for their
// actions.
std::string interfaceFor(const std::string& paneClass,
                         const std::vector<std::string>& actions = {});

std::string infoPlist(const std::map<std::string, std::string>& info);

// Both return the bundle's path.
std::string makeBundle(const TempFolder& folder, const std::string& name, const BundleParts& parts);
std::string makeBundle(const TempFolder& folder, const std::string& name,
                       const std::string& paneClass, const std::vector<std::string>& actions = {});

// Returns the lines of a file; none if it is missing.
std::vector<std::string> linesOf(const std::string& path);

}  // namespace quillmoor::test
