// The host in a process of its own.
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

// Starts the host without a display, with `environment` added; ends it after a while if it does not
// end by itself.
class HostProcess {
  public:
    HostProcess(const TempFolder& folder, const std::vector<std::string>& arguments,
                const std::map<std::string, std::string>& environment = {});
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    pid_t id() const { return child_; }
    // `signal` is sent to it again and again until it has ended; 0 sends none.
    HostRun wait(int signal = 0);

  private:
    std::string outputFile_;
    std::string errorFile_;
    pid_t child_ = -1;
};

HostRun runHost(const TempFolder& folder, const std::vector<std::string>& arguments,
                const std::map<std::string, std::string>& environment = {});

}  // namespace quillmoor::test
