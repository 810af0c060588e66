// Starts the toolkit with the host's style, for every test of the program.
#include "host/window/host_style.h"
#include "tests/support/off_screen_toolkit.h"

namespace quillmoor::test {
namespace {

class Toolkit : public OffScreenToolkit {
  public:
    void SetUp() override {
        QApplication::setStyle(new host::HostStyle);
        OffScreenToolkit::SetUp();
    }
};

[[maybe_unused]] const auto* const toolkit = ::testing::AddGlobalTestEnvironment(new Toolkit);

}  // namespace
}  // namespace quillmoor::test
