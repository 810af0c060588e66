// The small types that every floor shares.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillmoor {

// A string that may be absent (nil). Strings are byte strings; nothing converts or normalises them.
using OptionalString = std::optional<std::string>;

// A POSIX path that may be absent (nil). An empty path, or one with a NUL, is answered like a
// missing item.
using OptionalPath = std::optional<std::string>;

using StringList = std::vector<std::string>;

// A tool's arguments; nil and an empty list start the tool with none.
using OptionalArguments = std::optional<StringList>;

// A child's whole environment; nil lets the child inherit the caller's.
using Environment = std::map<std::string, std::string>;
using OptionalEnvironment = std::optional<Environment>;

// Which of the two folders of a kind is meant.
enum class UserDomain : bool {
    No,  // the machine-wide one, as /Library
    Yes  // the one inside the user's home, as ~/Library
};

}  // namespace quillmoor
