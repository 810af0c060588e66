// The library's public operations, as its headers declare them.
#pragma once

#include <set>
#include <string>

namespace quillmoor::test {

// "KXFileManager copyFile:toPath:timeout:": the class, the operation's name and the names of the
// parameters after the first, which make up the selector. Of a function the name alone.
std::set<std::string> publicOperations();

}  // namespace quillmoor::test
