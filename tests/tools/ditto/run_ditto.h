// Runs the built tool, and describes what it leaves.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmoor::test {

struct DittoResult {
    int status = -1;  // exit status; -1 if a signal ended it
    int signal = 0;
    std::string output;
    std::string errors;
};

// `prepare` runs in the child before the tool starts.
DittoResult runDitto(const std::vector<std::string>& arguments,
                     const std::function<void()>& prepare = {});

// Returns a `prepare` that limits the tool to `count` descriptors, including the standard streams.
std::function<void()> withDescriptors(unsigned count);

// Runs the tool with -V and does not read its standard error until `inTheMiddle` has returned: once
// the pipe is full, the tool waits in the middle of its work.
DittoResult pauseDitto(std::vector<std::string> arguments,
                       const std::function<void(pid_t)>& inTheMiddle);

// Sends the tool a signal in the middle of its work.
DittoResult interruptDitto(const std::vector<std::string>& arguments, int signal);

// Returns a line for each item below `folder`, sorted: path, kind and mode, date, and a link's
// target or a file's content. Links are not followed.
std::vector<std::string> describeTree(const std::string& folder);

// Sets the date of an item; of a link, that of the link itself.
void setDate(const std::string& path, std::int64_t seconds);

}  // namespace quillmoor::test
