// The library's side of bench/tree/run: one kind of work in each process. Wildcards are timed
// within the process, against glob.
#include <dirent.h>
#include <glob.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/native_services.h"

namespace quillmoor::bench {
namespace {

using platform::nativeFileManager;
using platform::nativeFileTree;

int endOf(const Outcome& outcome) {
    if (outcome) return 0;
    std::fprintf(stderr, "bench_tree: %s\n", outcome.error().description.c_str());
    return 1;
}

int copy(const std::string& path, const std::string& destination) {
    return endOf(nativeFileTree()->copy(path, destination, nullptr, {}));
}

// With progress, whose final counts are printed to be checked.
int copyWatched(const std::string& path, const std::string& destination) {
    platform::TreeProgress progress;
    const int result = endOf(nativeFileTree()->copy(path, destination, &progress, {}));
    std::printf("%llu %llu\n", static_cast<unsigned long long>(progress.bytes),
                static_cast<unsigned long long>(progress.items));
    return result;
}

int remove(const std::string& path) {
    return endOf(nativeFileManager()->removeItem(path));
}

int size(const std::string& path) {
    std::printf("%llu\n", static_cast<unsigned long long>(nativeFileTree()->size(path, {})));
    return 0;
}

// Returns the joined paths that exist.
StringList joined(const StringList& folders, const std::string& component) {
    StringList found;
    for (const std::string& folder : folders) {
        std::string path = *appendPathComponent(folder, component);
        if (nativeFileManager()->fileExists(path)) found.push_back(std::move(path));
    }
    return found;
}

// Expands component by component, as the library does.
StringList expanded(const std::string& path) {
    StringList found;
    for (const std::string& component : pathComponents(path)) {
        if (component == "/")
            found = {"/"};
        else if (component.find('*') != std::string::npos)
            found = nativeFileTree()->match(found, component);
        else
            found = joined(found, component);
    }
    return found;
}

StringList globbed(const std::string& path) {
    glob_t result{};
    StringList found;
    if (::glob(path.c_str(), GLOB_NOSORT, nullptr, &result) == 0)
        found.assign(result.gl_pathv, result.gl_pathv + result.gl_pathc);
    ::globfree(&result);
    return found;
}

// For the comparison alone: neither side sorts while it is timed, except glob by default.
StringList sorted(StringList paths) {
    std::sort(paths.begin(), paths.end());
    return paths;
}

double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Times only the call itself, without converting glob's results.
double globTime(const std::string& path, int flags) {
    glob_t result{};
    const double seconds = secondsOf([&] { ::glob(path.c_str(), flags, nullptr, &result); });
    ::globfree(&result);
    return seconds;
}

double ownTime(const std::string& path) {
    StringList found;
    return secondsOf([&] { found = expanded(path); });
}

// The least work of any implementation: reading the folders.
double readingTime(const StringList& folders) {
    return secondsOf([&] {
        for (const std::string& folder : folders) {
            DIR* const stream = ::opendir(folder.c_str());
            // A file, or a folder that cannot be read: the others find nothing in it either.
            if (stream == nullptr) continue;
            while (::readdir(stream) != nullptr) continue;
            ::closedir(stream);
        }
    });
}

// Prints a line for each round: seconds of ours, of glob's, of glob's without sorting, and of
// reading the folders. The order changes from round to round.
int match(const std::string& path, int rounds) {
    if (expanded(path).empty() || sorted(expanded(path)) != sorted(globbed(path))) {
        std::fprintf(stderr, "bench_tree: other matches than glob's for %s\n", path.c_str());
        return 1;
    }
    const StringList folders = expanded(deleteLastPathComponent(path));
    const std::array<std::function<double()>, 4> works{
        [&] { return ownTime(path); }, [&] { return globTime(path, 0); },
        [&] { return globTime(path, GLOB_NOSORT); }, [&] { return readingTime(folders); }};
    for (int round = 0; round < rounds; ++round) {
        std::array<double, works.size()> seconds{};
        for (std::size_t i = 0; i < works.size(); ++i) {
            const std::size_t which = (i + static_cast<std::size_t>(round)) % works.size();
            seconds[which] = works[which]();
        }
        std::printf("%.6f %.6f %.6f %.6f\n", seconds[0], seconds[1], seconds[2], seconds[3]);
    }
    return 0;
}

// Runs a command and prints its largest resident set in bytes, on a line after its output.
int peak(char** command) {
    pid_t child = 0;
    int status = 0;
    rusage usage{};
    if (::posix_spawnp(&child, command[0], nullptr, nullptr, command, environ) != 0 ||
        ::wait4(child, &status, 0, &usage) != child || status != 0)
        return 1;
    // The system counts in kilobytes.
    std::printf("%lld\n", static_cast<long long>(usage.ru_maxrss) * 1024);
    return 0;
}

int run(const std::vector<std::string>& words) {
    if (words.size() == 2 && words[0] == "size") return size(words[1]);
    if (words.size() == 2 && words[0] == "remove") return remove(words[1]);
    if (words.size() == 3 && words[0] == "copy") return copy(words[1], words[2]);
    if (words.size() == 3 && words[0] == "copy-watched") return copyWatched(words[1], words[2]);
    if (words.size() == 3 && words[0] == "match")
        return match(words[1], std::atoi(words[2].c_str()));
    std::fprintf(stderr,
                 "Usage: bench_tree size|remove PATH, copy|copy-watched PATH NEW,"
                 " match PATTERN ROUNDS, peak COMMAND…\n");
    return 2;
}

}  // namespace
}  // namespace quillmoor::bench

int main(int argc, char** argv) {
    if (argc > 2 && std::string_view(argv[1]) == "peak") return quillmoor::bench::peak(argv + 2);
    return quillmoor::bench::run(std::vector<std::string>(argv + 1, argv + argc));
}
