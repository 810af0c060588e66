// Runs the built tool, and looks at what it leaves.
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

// To prepare with: the tool can have so many descriptors, the three standard streams included.
std::function<void()> withDescriptors(unsigned count);

// Runs it with -V added and its standard error full, so that it stands still in the middle of the
// work; does something meanwhile, and then lets it go on.
DittoResult pauseDitto(std::vector<std::string> arguments,
                       const std::function<void(pid_t)>& inTheMiddle);

// Sends it a signal in the middle of the work.
DittoResult interruptDitto(const std::vector<std::string>& arguments, int signal);

// One line for each item below `folder`, sorted: path, kind, rights, date, and a link's target or a
// file's content. Links are not followed.
std::vector<std::string> describeTree(const std::string& folder);

// Sets the date, of a link itself too.
void setDate(const std::string& path, std::int64_t seconds);

}  // namespace quillmoor::test
