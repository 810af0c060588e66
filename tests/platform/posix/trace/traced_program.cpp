// A program of the library, whose trace a test reads: traced_program OPERATION ARGUMENT…
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/process/child_posix.h"

namespace {

namespace platform = quillmoor::platform;

bool run(const std::string& operation, const std::string& first, const std::string& second) {
    const platform::Platform& services = platform::current();
    if (operation == "move")
        return static_cast<bool>(services.fileManager->moveItem(first, second));
    if (operation == "remove") return static_cast<bool>(services.fileManager->removeItem(first));
    if (operation == "open") {
        const platform::posix::Descriptor file(
            ::open(first.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        static_cast<void>(services.fileManager->removeItem(second));
        return file.get() == STDERR_FILENO;
    }
    if (operation == "start") {
        platform::posix::ChildSetup setup;
        setup.path = first;
        const auto child = platform::posix::Child::start(setup);
        if (!child) return false;
        child->wait();
        return child->status() == 0;
    }
    if (operation == "rights") {
        platform::AuthorizationRef reference = nullptr;
        return services.authorization->create({}, {}, 0, reference) == 0 &&
               services.authorization->free(reference, 0) == 0;
    }
    return false;
}

// Half of the work is the child's.
bool runInBoth(const std::string& first, const std::string& second) {
    if (!run("remove", first, {})) return false;
    const pid_t child = ::fork();
    if (child == 0) ::_exit(run("remove", second, {}) ? EXIT_SUCCESS : EXIT_FAILURE);
    int status = 0;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace

int main(int count, char** arguments) {
    const auto argument = [&](int number) {
        return std::string(number < count ? arguments[number] : "");
    };
    const bool done = argument(1) == "fork" ? runInBoth(argument(2), argument(3))
                                            : run(argument(1), argument(2), argument(3));
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
