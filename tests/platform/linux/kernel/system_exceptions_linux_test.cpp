#include "quillmoor/platform/posix/run_loop/system_exceptions_posix.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <typeinfo>

namespace quillmoor::platform::posix {
namespace {

TEST(SystemExceptions, AreNone) {
    EXPECT_FALSE(isSystemException(typeid(std::runtime_error).name()));
    EXPECT_FALSE(isSystemException("NSException"));
}

}  // namespace
}  // namespace quillmoor::platform::posix
