// Runs copies of the child program print_bundle.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::test {

// The lines that a copy of it at `program` prints for `argument`.
StringList printedByCopy(const std::string& program, const std::string& argument);

// The path as the kernel names it, should the way to it lead through links.
std::string canonicalPath(const std::string& path);

}  // namespace quillmoor::test
