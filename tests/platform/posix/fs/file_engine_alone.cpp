// A program of the file engine alone: makes a folder with something in it, and removes both.
#include <stdlib.h>
#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "quillmoor/platform/posix/fs/tree_remove_posix.h"

int main() {
    using namespace quillmoor::platform;  // NOLINT(google-build-using-namespace): a program's own
    std::string folder = "/tmp/file-engine-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr || ::mkdir((folder + "/inside").c_str(), 0700) != 0)
        return EXIT_FAILURE;
    struct stat status;
    const bool removed =
        posix::removePath(folder).error == 0 && ::stat(folder.c_str(), &status) != 0;
    return removed ? EXIT_SUCCESS : EXIT_FAILURE;
}
