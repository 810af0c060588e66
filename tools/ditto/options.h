// The command line.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quillmoor::ditto {

inline constexpr std::uint64_t kDefaultMaxSize = 16ULL << 30U;

enum class Action { Unpack, Pack, ShowHelp, ShowVersion };

struct Options {
    Action action = Action::ShowHelp;
    std::vector<std::string> sources;
    std::string destination;
    bool keepParent = false;
    bool verbose = false;
    std::uint64_t maxSize = kDefaultMaxSize;
};

class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// `arguments` are without the program's name. Options may be in any order, before or after the
// paths; short ones may be joined; everything after -- is a path. Throws UsageError.
Options parseOptions(std::span<const char* const> arguments);

std::string_view usage();

}  // namespace quillmoor::ditto
