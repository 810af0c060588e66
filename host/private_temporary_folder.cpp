#include "host/private_temporary_folder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "host/ground/display_text.h"
#include "host/ground/host_error.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor::host {

PrivateTemporaryFolder::PrivateTemporaryFolder() {
    const std::string shared = platform::native().locations->temporaryDirectory();
    path_ = shared + "/installer-host-XXXXXX";
    if (::mkdtemp(path_.data()) == nullptr)
        throw HostError("no folder could be made in the temporary folder " + inQuotes(shared) +
                        ": " + std::strerror(errno));
    // Read by the library for the panes, and by what they start.
    ::setenv("TMPDIR", path_.c_str(), 1);
}

PrivateTemporaryFolder::~PrivateTemporaryFolder() {
    // Without XDG_RUNTIME_DIR the toolkit leaves an empty folder of its own here. The overloads
    // with an error code are used, as a destructor must not throw.
    std::error_code error;
    std::filesystem::directory_iterator entry(path_, error);
    for (; !error && entry != end(entry); entry.increment(error)) ::rmdir(entry->path().c_str());
    ::rmdir(path_.c_str());
}

}  // namespace quillmoor::host
