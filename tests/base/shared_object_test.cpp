#include "quillmoor/base/shared_object.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace quillmoor {
namespace {

class Single : public SharedObject<Single> {};

TEST(SharedObject, ReturnsItselfAndKeepsNoCount) {
    Single single;
    EXPECT_EQ(single.retain(), &single);
    EXPECT_EQ(single.autorelease(), &single);
    EXPECT_EQ(single.copyWithZone(), &single);
    single.release();
    EXPECT_EQ(single.retainCount(), 4294967295UL);
}

TEST(SharedObject, CannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<Single>);
}

}  // namespace
}  // namespace quillmoor
