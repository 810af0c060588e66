// What the tests of the standard locations share.
#pragma once

#include <functional>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/forwarding.h"

namespace quillmoor::test {

// Counts what is written to it.
class SilentConsole : public ForwardingConsole {
  public:
    int lines = 0;
    void log(std::string_view) override { ++lines; }
    void print(std::string_view) override { ++lines; }
    void putString(std::string_view) override { ++lines; }
};

inline void onEightThreads(const std::function<void()>& body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back(body);
    for (std::thread& thread : threads) thread.join();
}

}  // namespace quillmoor::test
