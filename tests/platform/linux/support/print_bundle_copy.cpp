#include <array>
#include <cstdio>
#include <filesystem>

#include "tests/platform/linux/support/print_bundle.h"

namespace quillmoor::test {
namespace fs = std::filesystem;

StringList printedByCopy(const std::string& program, const std::string& argument) {
    fs::create_directories(fs::path(program).parent_path());
    fs::copy_file(KX_PRINT_BUNDLE, program);
    const std::string command = "'" + program + "' " + argument;
    FILE* output = ::popen(command.c_str(), "re");
    StringList lines;
    std::array<char, 4096> buffer{};
    while (std::fgets(buffer.data(), buffer.size(), output) != nullptr) {
        lines.emplace_back(buffer.data());
        lines.back().pop_back();
    }
    ::pclose(output);
    return lines;
}

std::string canonicalPath(const std::string& path) {
    return fs::canonical(path).string();
}

}  // namespace quillmoor::test
