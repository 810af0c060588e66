// Runs the host in a separate process.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace quillmoor::test {

struct HostRun {
    int status = -1;  // negative: ended by that signal
    std::string output;
    std::string error;
};

// Starts the host without a display, with `environment` added. Ends it if it takes too long.
class HostProcess {
  public:
    HostProcess(const TempFolder& folder, const std::vector<std::string>& arguments,
                const std::map<std::string, std::string>& environment = {});
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    pid_t id() const { return child_; }
    // Waits for its end. `signal`, unless 0, is sent to it repeatedly meanwhile.
    HostRun wait(int signal = 0);

  private:
    std::string outputFile_;
    std::string errorFile_;
    pid_t child_ = -1;
};

HostRun runHost(const TempFolder& folder, const std::vector<std::string>& arguments,
                const std::map<std::string, std::string>& environment = {});

}  // namespace quillmoor::test
