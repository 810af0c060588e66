#include "quillmoor/platform/linux/bundles/bundle_linux.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <link.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/base/strings.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform {
namespace linux_ {
namespace {

bool exists(const std::string& path) {
    struct stat status {};
    return posix::systemCalls().fstatat(AT_FDCWD, path.c_str(), &status, 0) == 0;
}

std::string joined(std::string_view folder, std::string_view name) {
    return std::string(folder).append("/").append(name);
}

// True for a name that cannot lead out of the folder in which it is looked up.
bool staysInside(std::string_view name) {
    if (name.empty() || name.find('\0') != std::string_view::npos) return false;
    const StringList components = pathComponents(name);
    return std::find(components.begin(), components.end(), "..") == components.end();
}

// A bundle folder. Nothing of it is kept in memory: an update while the program runs is seen at the
// next question.
class FolderBundle : public Bundle {
  public:
    FolderBundle(const std::string& folder, OptionalPath executable)
        : contents_(joined(folder, "Contents")), executable_(std::move(executable)) {}

    OptionalPath executablePath() override { return executable_; }

    OptionalString infoDictionaryText(const std::string& key) override {
        const auto info =
            nativePropertyLists()->dictionaryWithContentsOfFile(joined(contents_, "Info.plist"));
        if (!info) return std::nullopt;
        const auto found = info->find(key);
        return found != info->end() ? found->second.text() : std::nullopt;
    }

    OptionalPath pathForResource(const std::string& name, const std::string& type) override {
        const std::string file = type.empty() ? name : name + "." + type;
        if (name.empty() || !staysInside(file)) return std::nullopt;
        const std::string resources = joined(contents_, "Resources");
        std::string path = joined(resources, file);
        if (exists(path)) return path;
        // What is outside of the folders for languages counts for every language and comes first.
        for (const std::string& language : languagesOfResources()) {
            path = joined(joined(resources, language + ".lproj"), file);
            if (exists(path)) return path;
        }
        return std::nullopt;
    }

  private:
    std::string contents_;
    OptionalPath executable_;
};

// The bundle of a program that is not in a bundle.
class PlainBundle : public Bundle {
  public:
    explicit PlainBundle(OptionalPath executable) : executable_(std::move(executable)) {}
    OptionalPath executablePath() override { return executable_; }
    OptionalString infoDictionaryText(const std::string&) override { return std::nullopt; }
    OptionalPath pathForResource(const std::string&, const std::string&) override {
        return std::nullopt;
    }

  private:
    OptionalPath executable_;
};

OptionalString environmentText(const char* variable) {
    const char* value = ::getenv(variable);
    return value != nullptr && *value != '\0' ? OptionalString(value) : std::nullopt;
}

void addOnce(StringList& list, const std::string& item) {
    const bool known = std::find(list.begin(), list.end(), item) != list.end();
    // A language from the environment becomes the name of a folder, and must not lead to another
    // one.
    if (!known && !item.empty() && item.find('/') == std::string::npos) list.push_back(item);
}

// Adds de_DE, de-DE and de for de_DE.UTF-8@euro.
void addLanguages(StringList& languages, std::string_view locale) {
    const std::string name(locale.substr(0, locale.find_first_of(".@")));
    addOnce(languages, name);
    addOnce(languages, replaceAll(name, "_", "-"));
    addOnce(languages, name.substr(0, name.find('_')));
}

OptionalPath programOfThisProcess() {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink("/proc/self/exe", target.data(), target.size());
    if (length <= 0) return std::nullopt;
    std::string path(target.data(), static_cast<std::size_t>(length));
    // The kernel appends this to the name of a program that was removed or replaced by an update.
    constexpr std::string_view kDeleted = " (deleted)";
    if (path.ends_with(kDeleted) && !exists(path)) path.resize(path.size() - kDeleted.size());
    return path;
}

}  // namespace

OptionalPath bundleFolderOf(const std::string& executable) {
    const std::string folder = deleteLastPathComponent(executable);
    const std::string system = lastPathComponent(folder);
    if (system != "Linux" && system != "MacOS") return std::nullopt;
    const std::string contents = deleteLastPathComponent(folder);
    if (lastPathComponent(contents) != "Contents") return std::nullopt;
    std::string bundle = deleteLastPathComponent(contents);
    return pathExtension(bundle).empty() ? std::nullopt : OptionalPath(std::move(bundle));
}

std::shared_ptr<Bundle> bundleOf(const OptionalPath& executable) {
    const OptionalPath folder = executable ? bundleFolderOf(*executable) : std::nullopt;
    if (!folder) return std::make_shared<PlainBundle>(executable);
    return std::make_shared<FolderBundle>(*folder, executable);
}

StringList languagesOfResources() {
    StringList languages;
    OptionalString locale;
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (!locale) locale = environmentText(variable);
    }
    const bool plain = !locale || *locale == "C" || *locale == "POSIX" || locale->starts_with("C.");
    if (!plain) {
        // As gettext does: the user's list of languages counts only together with a locale.
        std::string wishes = environmentText("LANGUAGE").value_or("");
        for (std::string_view rest = wishes; !rest.empty();) {
            const std::string_view wish = rest.substr(0, rest.find(':'));
            rest.remove_prefix(std::min(wish.size() + 1, rest.size()));
            addLanguages(languages, wish);
        }
        addLanguages(languages, *locale);
    }
    addOnce(languages, "en");
    addOnce(languages, "Base");
    return languages;
}

}  // namespace linux_

namespace {

class LinuxBundles : public Bundles {
  public:
    std::shared_ptr<Bundle> mainBundle() override {
        return linux_::bundleOf(linux_::programOfThisProcess());
    }

    std::shared_ptr<Bundle> bundleForCode(const void* address) override {
        Dl_info info{};
        void* extra = nullptr;
        // By the loader's list: in glibc, dli_fname of the program itself is its argv[0], which
        // need not be a path.
        if (::dladdr1(address, &info, &extra, RTLD_DL_LINKMAP) == 0) return nullptr;
        // The loader's name for the program itself is empty.
        const char* name = static_cast<const link_map*>(extra)->l_name;
        if (*name == '\0') return mainBundle();
        const std::unique_ptr<char, decltype(&::free)> file(
            posix::systemCalls().realpath(name, nullptr), &::free);
        return file != nullptr ? linux_::bundleOf(OptionalPath(file.get())) : nullptr;
    }
};

}  // namespace

Bundles* nativeBundles() {
    static auto* const bundles = new LinuxBundles;
    return bundles;
}

}  // namespace quillmoor::platform
