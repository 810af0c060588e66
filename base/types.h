// The small types that every floor shares.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillmoor {

// A string that may be absent (nil). Strings are byte strings; nothing converts or normalises them.
// nil and the empty string are different values.
using OptionalString = std::optional<std::string>;

// A POSIX path that may be absent (nil). Bytes, not necessarily valid UTF-8, and of any length. An
// empty path, and one that contains a NUL, count as the path of a missing item.
using OptionalPath = std::optional<std::string>;

// Strings in an order that means something, such as components, arguments or entries as listed.
using StringList = std::vector<std::string>;

// A tool's arguments, without its own name. nil and an empty list start the tool with none.
using OptionalArguments = std::optional<StringList>;

// A child's whole environment, by name; nothing is merged with the caller's. nil lets the child
// inherit the caller's; an empty one starts it with none.
//
//   const OptionalEnvironment plain = Environment{{"LANG", "C"}, {"PATH", "/usr/bin:/bin"}};
using Environment = std::map<std::string, std::string>;
using OptionalEnvironment = std::optional<Environment>;

// Which of the two folders of a kind is meant.
enum class UserDomain : bool {
    No,  // the machine-wide one, as /Library
    Yes  // the one inside the user's home, as ~/Library
};

}  // namespace quillmoor
