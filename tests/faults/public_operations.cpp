#include "tests/faults/public_operations.h"

#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "quillmoor/base/types.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

const std::filesystem::path kSources = KX_SOURCE_FOLDER;

// One statement a line, without comments, preprocessing and the inside of functions.
std::string statementsOf(const std::filesystem::path& header) {
    std::string code;
    std::istringstream lines(readFile(header));
    for (std::string line; std::getline(lines, line);) {
        line = line.substr(0, line.find("//"));
        if (line.find('#') == std::string::npos) code += line + " ";
    }
    return code;
}

// The classes that are offered to a product, which have a prefix.
std::set<std::string> classesIn(const std::string& code) {
    const std::regex definition(R"(class ((KX|RK_)\w+)\b[^;{]*\{)");
    std::set<std::string> names;
    for (std::sregex_iterator it(code.begin(), code.end(), definition), end; it != end; ++it)
        names.insert((*it)[1]);
    return names;
}

// From the class's opening brace to its first part that is not public.
std::string publicPartOf(const std::string& name, const std::string& code) {
    const std::regex start("class " + name + "\\b[^;{]*\\{");
    std::smatch found;
    if (!std::regex_search(code, found, start)) throw std::runtime_error("no class " + name);
    const std::string rest = found.suffix();
    return rest.substr(
        0, std::min({rest.find(" protected:"), rest.find(" private:"), rest.find("};")}));
}

StringList parameterNames(const std::string& parameters) {
    StringList names;
    std::string depthless;
    int depth = 0;
    for (const char each : parameters) {
        if (each == '<' || each == '(') ++depth;
        if (depth == 0) depthless += each;
        if (each == '>' || each == ')') --depth;
    }
    const std::regex name("(\\w+)\\s*(,|$)");
    for (std::sregex_iterator it(depthless.begin(), depthless.end(), name), end; it != end; ++it)
        names.push_back((*it)[1]);
    return names;
}

std::string selector(const std::string& operation, const StringList& parameters) {
    std::string text = operation;
    for (std::size_t at = 0; at < parameters.size(); ++at)
        text += (at == 0 ? "" : parameters[at]) + ":";
    return text;
}

// What is in the namespace, and in none of its classes and functions.
std::string outsideClasses(const std::string& code) {
    std::string outside;
    int depth = 0;
    for (const char each : code) {
        if (each == '}') --depth;
        if (depth == 1) outside += each;
        if (each == '{') ++depth;
    }
    return outside;
}

void addFunctions(std::set<std::string>& operations, const std::string& code) {
    const std::regex declaration(R"([\w>&*]\s+[&*]?(\w+)\([^()]*\)\s*(noexcept)?\s*[;{])");
    const std::string outside = outsideClasses(code);
    for (std::sregex_iterator it(outside.begin(), outside.end(), declaration), end; it != end; ++it)
        operations.insert((*it)[1]);
}

void addMethods(std::set<std::string>& operations, const std::string& name,
                const std::string& code) {
    const std::string part = publicPartOf(name, code);
    // A type, a name and parameters; no operator, constructor or type.
    const std::regex declaration(
        R"([\w>&*:]\s+[&*]?(\w+)\(([^()]*)\)\s*(const)?\s*(noexcept)?\s*(override)?\s*(;|\{))");
    for (std::sregex_iterator it(part.begin(), part.end(), declaration), end; it != end; ++it) {
        const std::string operation = (*it)[1];
        if (operation == name || operation == "if") continue;
        operations.insert(name + " " + selector(operation, parameterNames((*it)[2])));
    }
}

void add(std::set<std::string>& operations, const std::filesystem::path& header) {
    const std::string code = statementsOf(header);
    const std::set<std::string> classes = classesIn(code);
    if (classes.empty()) return;
    addFunctions(operations, code);
    for (const std::string& name : classes) addMethods(operations, name, code);
}

}  // namespace

std::set<std::string> publicOperations() {
    std::set<std::string> operations;
    for (const char* const floor : {"paths", "log", "task", "auth", "files", "pane"})
        for (const auto& file : std::filesystem::directory_iterator(kSources / floor))
            if (file.path().extension() == ".h") add(operations, file.path());
    return operations;
}

}  // namespace quillmoor::test
