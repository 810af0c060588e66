// Limits the number of open files.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace quillmoor::test {

// Allows descriptors below `most` only, as long as it lives.
class FewDescriptors {
  public:
    explicit FewDescriptors(rlim_t most) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit limit{most, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

  private:
    rlimit before_{};
};

}  // namespace quillmoor::test
