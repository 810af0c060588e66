// The system's copies in the background as a fake: it records each call, and calls back when the
// test says so, as the main run loop would.
#pragma once

#include <CoreServices/CoreServices.h>

#include <map>
#include <string>
#include <vector>

namespace quillmoor::test {

// One at a time, as long as it lives. Without one each call fails.
class FakeFileOperations {
  public:
    FakeFileOperations();
    ~FakeFileOperations();
    FakeFileOperations(const FakeFileOperations&) = delete;
    FakeFileOperations& operator=(const FakeFileOperations&) = delete;

    // The names of the calls, with the run loop and the mode where they have one.
    std::vector<std::string> calls;
    // What the next calls return.
    OSStatus scheduled = 0, unscheduled = 0, started = 0, cancelled = 0;

    struct Copy {
        std::string source, folder, name;
        OptionBits options = 0;
        CFTimeInterval interval = 0;
        CFIndex version = 0;
    };
    std::vector<Copy> copies;

    FSFileOperationRef last = nullptr;  // the last one that was made
    // How often the client's object was retained, less how often it was released.
    int retains = 0;

    // Calls back for the last copy that was started. The status is a dictionary of these numbers,
    // with one entry more that is not a number; null without any.
    void report(FSFileOperationStage stage, OSStatus error = 0, const char* item = nullptr,
                const std::map<std::string, double>& status = {});

    // Of the system's side.
    FSPathFileOperationStatusProcPtr callback = nullptr;
    FSFileOperationClientContext context{};
    void releaseClient();
};

}  // namespace quillmoor::test
