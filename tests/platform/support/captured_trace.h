// The lines of the trace that are written while it lives.
#pragma once

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace quillmoor::test {

// The lines of a trace without what differs from run to run: fs close(5) = 0
inline std::vector<std::string> traceLines(const std::string& text) {
    static const std::regex kLine(R"(kx\[\d+/\d+\] (.*) \(\d+ us\))");
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(std::regex_replace(line, kLine, "$1"));
    return lines;
}

class CapturedTrace {
  public:
    CapturedTrace() { testing::internal::CaptureStderr(); }
    ~CapturedTrace() {
        if (!taken_) testing::internal::GetCapturedStderr();
    }
    CapturedTrace(const CapturedTrace&) = delete;
    CapturedTrace& operator=(const CapturedTrace&) = delete;

    // Ends the capturing.
    std::string text() {
        taken_ = true;
        return testing::internal::GetCapturedStderr();
    }
    std::vector<std::string> lines() { return traceLines(text()); }

  private:
    bool taken_ = false;
};

}  // namespace quillmoor::test
