// Fonts, read while the rest of the program starts.
#pragma once

#include <thread>

namespace quillmoor::host {

// To read the system's list of fonts takes as long as everything else together until a window is on
// screen. This does it on a thread of its own, from construction on; the toolkit then finds it
// done.
class FontWarmup {
  public:
    FontWarmup();

    // Waits until the list has been read. Call before the first text is measured: earlier the
    // toolkit would read it a second time.
    void finish();

  private:
    std::jthread reader_;
};

}  // namespace quillmoor::host
