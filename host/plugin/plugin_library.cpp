#include "host/plugin/plugin_library.h"

#include <dlfcn.h>

#include <array>
#include <filesystem>
#include <map>
#include <utility>

#include "host/ground/display_text.h"
#include "host/ground/host_error.h"
#include "host/plugin/library_file_check.h"

namespace quillmoor::host {
namespace {

// The loader's text for the last failure, without the path with which it often begins.
std::string loaderMessage(const std::string& path) {
    const char* message = ::dlerror();
    const std::string text = message != nullptr ? message : "unknown error";
    return text.starts_with(path + ": ") ? text.substr(path.size() + 2) : text;
}

// The loader maps a file without looking at its size, and reading a mapping beyond the file's end
// kills the process by SIGBUS.
void checkIsWhole(const std::string& file, const std::string& path) {
    try {
        checkIsComplete(path);
    } catch (const HostError& error) {
        throw HostError(file + " is truncated: " + error.what());
    }
}

void* opened(const BundleInfo& info) {
    const std::string file = info.libraryInBundle();
    const std::string path = info.inBundle(file);
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        throw HostError("it has no plug-in " + inQuotes(file));
    if (!std::filesystem::is_regular_file(path, error))
        throw HostError(file + " is not a regular file");
    checkIsWhole(file, path);
    // All symbols now, so that a missing one is reported here; local, so that two plug-ins may have
    // functions of the same name.
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw HostError(file + " cannot be opened: " + loaderMessage(path));
    return handle;
}

// Returns the name of the first function that the pane lacks, or null.
const char* missingFunction(const installer_pane& pane) {
    const std::array<std::pair<const char*, bool>, 6> functions{{
        {"title", pane.title != nullptr},
        {"did_enter_pane", pane.did_enter_pane != nullptr},
        {"should_exit_pane", pane.should_exit_pane != nullptr},
        {"set_outlet", pane.set_outlet != nullptr},
        {"perform_action", pane.perform_action != nullptr},
        {"destroy", pane.destroy != nullptr},
    }};
    for (const auto& [name, present] : functions)
        if (!present) return name;
    return nullptr;
}

}  // namespace

PluginLibrary::PluginLibrary(const BundleInfo& info, const installer_host_services& services)
    : file_(info.libraryInBundle()), handle_(opened(info)) {
    attachOnce(services);
}

void* PluginLibrary::symbol(const char* name) const {
    void* address = ::dlsym(handle_, name);
    if (address == nullptr) throw HostError(file_ + " exports no function " + inQuotes(name));
    return address;
}

void PluginLibrary::attachOnce(const installer_host_services& services) const {
    // Whether each library accepted this host. dlopen() returns the same handle for a library that
    // is open already.
    static std::map<void*, bool> accepted;
    // Both functions are looked up before the plug-in's code runs.
    symbol("installer_plugin_create_pane");
    const auto attach =
        reinterpret_cast<decltype(&installer_plugin_attach)>(symbol("installer_plugin_attach"));
    // Entered before the call, so that nothing can fail between the call and its record.
    const auto [library, isFirst] = accepted.emplace(handle_, false);
    if (isFirst) library->second = attach(&services) != 0;
    if (!library->second)
        throw HostError(file_ + " cannot work with this host: it refused version " +
                        std::to_string(services.version) + " of the plug-in interface");
}

installer_pane PluginLibrary::createPane(const std::string& className,
                                         const installer_pane_host& host) const {
    const auto create = reinterpret_cast<decltype(&installer_plugin_create_pane)>(
        symbol("installer_plugin_create_pane"));
    installer_pane pane{};
    if (create(className.c_str(), &host, &pane) == 0)
        throw HostError(file_ + " has no pane class " + inQuotes(className));
    const char* missing = missingFunction(pane);
    if (missing == nullptr) return pane;
    // The plug-in has made the pane, although it cannot be used.
    if (pane.destroy != nullptr) pane.destroy(pane.context);
    throw HostError("its pane class " + inQuotes(className) + " lacks the function " +
                    inQuotes(missing));
}

}  // namespace quillmoor::host
