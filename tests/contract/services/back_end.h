// The back-ends that a contract's tests run against.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "quillmoor/platform/platform.h"

namespace quillmoor::platform {

struct BackEnd {
    const char* name;
    const Platform& (*platform)();
};

inline auto backEnds() {
    return testing::Values(BackEnd{"Native", &native});
}

// What a test is named after: the `name` of its parameter.
template <typename Parameter>
std::string nameOf(const testing::TestParamInfo<Parameter>& test) {
    return test.param.name;
}

}  // namespace quillmoor::platform
