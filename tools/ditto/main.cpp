// ditto: packs and unpacks zip archives on systems that have no such tool of their own.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/interruption.h"
#include "tools/ditto/options.h"
#include "tools/ditto/pack.h"
#include "tools/ditto/unpack.h"

namespace {

using quillmoor::platform::posix::systemCalls;
using namespace quillmoor::ditto;  // NOLINT(google-build-using-namespace): the program's own

// Occupies the standard streams that the caller has closed: an archive that was opened under the
// number of one of them would receive the messages. Using such a stream still fails.
void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (systemCalls().fcntl(stream, F_GETFD, 0) >= 0) continue;
        // openat() takes the lowest free number, which is this one. The wrong direction makes every
        // use of the stream fail, as on a closed one.
        if (systemCalls().openat(AT_FDCWD, "/dev/null",
                                 stream == STDIN_FILENO ? O_WRONLY : O_RDONLY, 0) != stream)
            std::_Exit(EXIT_FAILURE);
    }
}

// Returns whether the text was written.
bool show(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return std::fflush(stdout) == 0;
}

int run(const Options& options) {
    // Each item is created with its final mode. The caller's mask applies only where an archive has
    // no mode.
    const unsigned mask = ::umask(0);
    switch (options.action) {
        case Action::ShowHelp:
            return show(usage()) ? EXIT_SUCCESS : EXIT_FAILURE;
        case Action::ShowVersion:
            return show("ditto " DITTO_VERSION "\n") ? 0 : 1;
        case Action::Unpack:
            unpack(options, mask);
            break;
        case Action::Pack:
            pack(options, mask);
            break;
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    watchForInterruption();
    try {
        return run(parseOptions({argv + 1, static_cast<std::size_t>(argc > 0 ? argc - 1 : 0)}));
    } catch (const Interrupted&) {
        dieOfSignal(interruptingSignal());
    } catch (const UsageError& error) {
        std::fprintf(stderr, "ditto: %s\nTry ditto --help.\n", error.what());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ditto: %s\n", error.what());
    }
    return EXIT_FAILURE;
}
