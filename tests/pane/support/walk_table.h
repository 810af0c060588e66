// The walks of tests/pane/walks.txt.
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillmoor::test {

struct Walk {
    std::string line;  // for messages
    bool installed = false;
    std::vector<std::string> steps;
    std::vector<std::string> panes;  // after each step
};

// The parts of a text between separators, without blanks around them.
inline std::vector<std::string> partsOf(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        part.erase(0, part.find_first_not_of(' '));
        part.erase(part.find_last_not_of(' ') + 1);
        parts.push_back(part);
    }
    return parts;
}

inline std::vector<Walk> readWalks(const std::string& path) {
    std::vector<Walk> walks;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#') continue;
        const auto columns = partsOf(line, '|');
        if (columns.size() != 3) throw std::runtime_error(line);
        Walk walk{line, columns[0] == "installed", partsOf(columns[1], ','),
                  partsOf(columns[2], ',')};
        if (walk.steps.size() != walk.panes.size()) throw std::runtime_error(line);
        walks.push_back(walk);
    }
    if (walks.empty()) throw std::runtime_error(path + ": no walks");
    return walks;
}

}  // namespace quillmoor::test
