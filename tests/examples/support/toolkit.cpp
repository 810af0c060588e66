// Starts the toolkit for every test of the program, and writes what the example has logged.
#include "quillmoor/log/KXLog.h"
#include "tests/support/off_screen_toolkit.h"

namespace quillmoor::test {
namespace {

class Toolkit : public OffScreenToolkit {
  public:
    void TearDown() override {
        OffScreenToolkit::TearDown();
        KXLog::finishWriting();
    }
};

[[maybe_unused]] const auto* const toolkit = ::testing::AddGlobalTestEnvironment(new Toolkit);

}  // namespace
}  // namespace quillmoor::test
