#include "tests/children/child_tools.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace quillmoor::test {
namespace {

namespace fs = std::filesystem;

int entryCount(const char* folder) {
    int count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder)) ++count;
    return count;
}

// The state and the parent of a process, for example "R 17"; "" if there is no such process.
std::string stateAndParent(const fs::path& process) {
    std::string line;
    std::getline(std::ifstream(process / "stat"), line);
    // They follow the program's name, which is in parentheses and may contain any character.
    const std::size_t nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) return "";
    return line.substr(nameEnd + 2, line.find(' ', nameEnd + 4) - nameEnd - 2);
}

}  // namespace

std::string childPath(std::string_view name) {
    return std::string(KX_CHILDREN_FOLDER "/") + std::string(name);
}

bool eventually(const std::function<bool()>& condition) {
    using namespace std::chrono;
    const auto end = steady_clock::now() + seconds(10);
    while (!condition()) {
        if (steady_clock::now() > end) return condition();
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

pid_t pidIn(const std::string& file) {
    pid_t pid = -1;
    eventually([&] { return static_cast<bool>(std::ifstream(file) >> pid); });
    return pid;
}

bool processExists(pid_t pid) {
    return ::kill(pid, 0) == 0;
}

int zombieCount() {
    const std::string zombie = "Z " + std::to_string(::getpid());
    int count = 0;
    for (const auto& process : fs::directory_iterator("/proc"))
        if (stateAndParent(process.path()) == zombie) ++count;
    return count;
}

// Reading the folder takes a descriptor itself, which does not matter for comparisons.
int openDescriptorCount() {
    return entryCount("/proc/self/fd");
}

int threadCount() {
    return entryCount("/proc/self/task");
}

}  // namespace quillmoor::test
