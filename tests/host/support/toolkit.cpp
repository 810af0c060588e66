// Starts the toolkit, off screen, for every test of the program.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>
#include <memory>

#include "host/window/host_style.h"

namespace {

class Toolkit : public ::testing::Environment {
  public:
    void SetUp() override {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        QApplication::setStyle(new quillmoor::host::HostStyle);
        application_ = std::make_unique<QApplication>(argc_, argv_);
    }
    void TearDown() override { application_.reset(); }

  private:
    int argc_ = 1;
    char name_[10] = "test_host";
    char* argv_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> application_;
};

[[maybe_unused]] const auto* const toolkit = ::testing::AddGlobalTestEnvironment(new Toolkit);

}  // namespace
