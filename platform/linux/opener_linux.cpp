#include "platform/linux/opener_linux.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/paths.h"
#include "platform/exception.h"
#include "platform/linux/ascii_linux.h"
#include "platform/linux/environment_linux.h"
#include "platform/linux/programs_linux.h"
#include "platform/platform.h"

namespace quillmoor::platform::linux_ {
namespace {

OptionalString executableName(const std::string& application) {
    const auto info =
        current().propertyLists->dictionaryWithContentsOfFile(application + "/Contents/Info.plist");
    if (!info) return std::nullopt;
    const auto found = info->find("CFBundleExecutable");
    OptionalString name = found != info->end() ? found->second.text() : std::nullopt;
    const bool usable = name && !name->empty() && name->find('/') == std::string::npos;
    return usable ? name : std::nullopt;
}

OptionalPath onlyProgramIn(const std::string& folder) {
    OptionalPath only;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(folder.c_str()), &::closedir);
    if (listing == nullptr) return std::nullopt;
    while (const dirent* entry = ::readdir(listing.get())) {
        std::string path = folder + "/" + entry->d_name;
        if (!isProgram(path)) continue;
        if (only) return std::nullopt;
        only = std::move(path);
    }
    return only;
}

// What a started program finds: see startOnItsOwn.
class SpawnSettings {
  public:
    SpawnSettings() {
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawn_file_actions_init(&actions_);
    }
    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&actions_);
        ::posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    // NO when there was no memory for it.
    bool prepare() {
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        int error = ::posix_spawnattr_setflags(
            &attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        error |= ::posix_spawnattr_setsigmask(&attributes_, &none);
        error |= ::posix_spawnattr_setsigdefault(&attributes_, &all);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            error |= ::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
        error |= ::posix_spawn_file_actions_addchdir_np(&actions_, "/");
        error |= ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
        return error == 0;
    }

    const posix_spawnattr_t* attributes() const { return &attributes_; }
    const posix_spawn_file_actions_t* actions() const { return &actions_; }

  private:
    posix_spawnattr_t attributes_{};
    posix_spawn_file_actions_t actions_{};
};

// nil when the system refuses. `arguments` are without the program's own name.
std::optional<pid_t> spawn(const std::string& program, const StringList& arguments) {
    std::vector<char*> list{const_cast<char*>(program.c_str())};
    for (const std::string& each : arguments) list.push_back(const_cast<char*>(each.c_str()));
    list.push_back(nullptr);
    SpawnSettings settings;
    pid_t child = 0;
    const bool spawned =
        settings.prepare() && ::posix_spawn(&child, program.c_str(), settings.actions(),
                                            settings.attributes(), list.data(), environ) == 0;
    return spawned ? std::optional(child) : std::nullopt;
}

// In a program that ignores the end of its children there is nothing left to reap; that is as good.
void reap(pid_t child) {
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Without a trailing slash, so that a name stays a name.
OptionalPath absolute(const std::string& path) {
    std::error_code error;
    const auto folder = std::filesystem::current_path(error);
    if (path.starts_with('/')) return withoutTrailingSlashes(path);
    if (error) return std::nullopt;
    return appendPathComponent(folder.string(), path);
}

bool openByDesktop(const std::string& path) {
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
        // The thread comes first: a program that is started is reaped.
        current().mainThread->detachNewThread([started, program, arguments] {
            const std::optional<pid_t> child = spawn(program, arguments);
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
    if (!full || ::stat(full->c_str(), &status) != 0) return false;
    if (!S_ISDIR(status.st_mode) || !equalsIgnoringCase(pathExtension(*full), "app"))
        return openByDesktop(*full);
    const OptionalPath program = programOfApplication(*full);
    return program && startOnItsOwn(*program, {});
}

}  // namespace quillmoor::platform::linux_
