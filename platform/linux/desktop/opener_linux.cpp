#include "quillmoor/platform/linux/desktop/opener_linux.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/linux/ground/ascii_linux.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/linux/ground/programs_linux.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/ground/c_strings_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/child_system_posix.h"
#include "quillmoor/platform/posix/process/spawn_setup_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

OptionalString executableName(const std::string& application) {
    const auto info =
        current().propertyLists->dictionaryWithContentsOfFile(application + "/Contents/Info.plist");
    if (!info) return std::nullopt;
    const auto found = info->find("CFBundleExecutable");
    OptionalString name = found != info->end() ? found->second.text() : std::nullopt;
    // A name from the dictionary must not lead out of the bundle.
    const bool usable = name && !name->empty() && name->find('/') == std::string::npos;
    return usable ? name : std::nullopt;
}

OptionalPath onlyProgramIn(const std::string& folder) {
    OptionalPath only;
    posix::DirectoryReader listing(posix::Descriptor(
        posix::systemCalls().openat(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY, 0)));
    while (const dirent* entry = listing.next()) {
        std::string path = folder + "/" + entry->d_name;
        if (!isProgram(path)) continue;
        if (only) return std::nullopt;
        only = std::move(path);
    }
    return listing.error() == 0 ? only : std::nullopt;
}

// A folder or a terminal of the host's would otherwise stay in use as long as the program runs.
void leaveHost(posix::SpawnActions& actions) {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        actions.open(stream, posix::kNullDevice);
    actions.note(::posix_spawn_file_actions_addchdir_np(actions.get(), "/"));
}

// nil when the program cannot be started. `arguments` are without the program's own name.
std::optional<pid_t> spawn(const std::string& program, const StringList& arguments) {
    posix::CStrings list;
    list.add(program);
    for (const std::string& each : arguments) list.add(each);
    posix::SpawnActions actions;
    leaveHost(actions);
    // A session of its own: signals of the host's terminal are not meant for it, and it may outlive
    // the host.
    posix::SpawnAttributes attributes(posix::SpawnSession::Own);
    actions.note(posix::closeAllButStandardStreams(actions.get(), attributes.get()));
    if (!list.valid() || actions.error() != 0 || attributes.error() != 0) return std::nullopt;
    pid_t child = 0;
    if (posix::systemCalls().posix_spawn(&child, program.c_str(), actions.get(), attributes.get(),
                                         list.get(), environ) != 0)
        return std::nullopt;
    return child;
}

// noexcept: the caller waits for a result, also without memory.
std::optional<pid_t> spawnOrNone(const std::string& program, const StringList& arguments) noexcept {
    try {
        return spawn(program, arguments);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// Where the host ignores SIGCHLD the child is reaped already and waitpid fails, which is ignored.
void reap(pid_t child) {
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Without a trailing slash, which would hide the extension from pathExtension.
OptionalPath absolute(const std::string& path) {
    std::error_code error;
    const auto folder = std::filesystem::current_path(error);
    if (path.starts_with('/')) return withoutTrailingSlashes(path);
    if (error) return std::nullopt;
    return appendPathComponent(folder.string(), path);
}

bool openByDesktop(const std::string& path) {
    // Either one finds out which desktop runs, and which program opens the item there.
    if (const OptionalPath opener = findProgram("xdg-open")) return startOnItsOwn(*opener, {path});
    if (const OptionalPath opener = findProgram("gio"))
        return startOnItsOwn(*opener, {"open", path});
    return false;
}

}  // namespace

OptionalPath programOfApplication(const std::string& folder) {
    const std::string contents = folder + "/Contents/";
    if (const OptionalString name = executableName(folder)) {
        for (const char* system : {"Linux/", "MacOS/"}) {
            const std::string path = contents + system + *name;
            if (isProgram(path)) return path;
        }
    }
    return onlyProgramIn(contents + "Linux");
}

bool startOnItsOwn(const std::string& program, const StringList& arguments) {
    const auto started = std::make_shared<std::promise<bool>>();
    std::future<bool> answer = started->get_future();
    try {
        // The thread is started before the program: a started program is then always reaped.
        current().mainThread->detachNewThread([started, program, arguments] {
            const std::optional<pid_t> child = spawnOrNone(program, arguments);
            // Before the wait: the caller waits for the start only.
            started->set_value(child.has_value());
            if (child) reap(*child);
        });
    } catch (const Exception&) {
        return false;
    }
    return answer.get();
}

bool openFile(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return false;
    const OptionalPath full = absolute(path);
    struct stat status {};
    if (!full || posix::systemCalls().fstatat(AT_FDCWD, full->c_str(), &status, 0) != 0)
        return false;
    if (!S_ISDIR(status.st_mode) || !equalsIgnoringCase(pathExtension(*full), "app"))
        return openByDesktop(*full);
    const OptionalPath program = programOfApplication(*full);
    return program && startOnItsOwn(*program, {});
}

}  // namespace quillmoor::platform::linux_
