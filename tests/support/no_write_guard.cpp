// Instead of write_guard.cpp, for a back-end that the guard does not know: nothing is checked.
#include "tests/support/write_guard.h"

namespace quillmoor::test {

void installWriteGuard() {}

AllowWritesBelow::AllowWritesBelow(const std::string& path) : root_(path) {}
AllowWritesBelow::~AllowWritesBelow() = default;

}  // namespace quillmoor::test
