// The types in the table of selectors, and their encodings.
#pragma once

#include <string>

namespace quillmoor::test {

// The encoding of a type by its name in the table; "?" and the name if it is unknown.
std::string encodingOf(const std::string& name);

// An encoding without the qualifiers that make no difference to a caller.
std::string plainType(const char* encoding);

}  // namespace quillmoor::test
