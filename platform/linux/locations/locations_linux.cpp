#include "quillmoor/platform/locations.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/linux/locations/console_user_linux.h"
#include "quillmoor/platform/linux/locations/search_paths_linux.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform {
namespace {

constexpr uid_t kRootId = 0;

bool isFolder(const std::string& path) {
    struct stat status {};
    return posix::systemCalls().fstatat(AT_FDCWD, path.c_str(), &status, 0) == 0 &&
           S_ISDIR(status.st_mode);
}

class LinuxLocations : public Locations {
  public:
    StringList searchPaths(SearchPathDirectory directory, SearchPathDomainMask domain) override {
        return linux_::standardFolders(userDomain(), directory, domain);
    }

    std::string homeDirectory() override { return linux_::homeOfThisProcess(); }

    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        const std::optional<posix::User> user =
            name ? posix::userWithName(*name) : posix::userWithId(kRootId);
        // A relative home in the database would depend on the working folder.
        if (!user || !user->home.starts_with('/')) return std::nullopt;
        return linux_::withoutTrailingSlashes(user->home);
    }

    std::string userName() override {
        // A user id without an entry in the database, as in some containers, has the name that its
        // environment gives, else its number.
        if (const auto user = posix::userWithId(::geteuid())) return user->name;
        const char* name = ::secure_getenv("USER");
        return name != nullptr && *name != '\0' ? name : std::to_string(::geteuid());
    }

    OptionalString consoleUser() override { return linux_::consoleUser(linux_::loginManager()); }

    std::size_t confstr(int name, std::span<char> buffer) override {
        if (name != kDarwinUserCacheDirectory) return 0;
        const std::string value = cacheFolder();
        if (!buffer.empty()) {
            const std::size_t copied = std::min(value.size(), buffer.size() - 1);
            std::copy_n(value.begin(), copied, buffer.begin());
            buffer[copied] = '\0';
        }
        // As confstr(3): the size of the whole value with its NUL, also when the buffer is smaller,
        // so that the caller can provide a larger one.
        return value.size() + 1;
    }

    std::string temporaryDirectory() override {
        const OptionalPath folder = linux_::absolutePathInEnvironment("TMPDIR");
        // A variable that outlives its folder must not make every temporary file fail.
        return folder && isFolder(*folder) ? *folder : "/tmp";
    }

  private:
    std::string cacheFolder() {
        const OptionalPath folder = linux_::absolutePathInEnvironment("XDG_CACHE_HOME");
        return folder ? *folder : *appendPathComponent(homeDirectory(), ".cache");
    }

    linux_::UserDomainFolders userDomain() {
        if (::getuid() != kRootId) return linux_::foldersOfThisUser();
        const OptionalString name = consoleUser();
        return linux_::foldersOfRoot(name ? posix::userWithName(*name) : std::nullopt);
    }
};

}  // namespace

Locations* nativeLocations() {
    static auto* const locations = new LinuxLocations;
    return locations;
}

}  // namespace quillmoor::platform
