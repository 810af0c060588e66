// The toolkit, off screen, for all tests of a program.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>
#include <memory>

namespace quillmoor::test {

class OffScreenToolkit : public ::testing::Environment {
  public:
    void SetUp() override {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        application_ = std::make_unique<QApplication>(argc_, argv_);
    }
    void TearDown() override { application_.reset(); }

  private:
    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> application_;
};

}  // namespace quillmoor::test
