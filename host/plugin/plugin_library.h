// The shared object of a pane plug-in.
#pragma once

#include <string>

#include "host/plugin/bundle_info.h"
#include "quillmoor/pane/installer_plugin.h"

namespace quillmoor::host {

// Never unloaded, because its threads and static objects may be in use until the process exits. For
// the main thread only.
class PluginLibrary {
  public:
    // Opens the bundle's shared object and, the first time, calls its attach function. Throws
    // HostError; a library that refused the host is refused from then on. `services` must outlive
    // the process's last thread.
    PluginLibrary(const BundleInfo& info, const installer_host_services& services);

    // Throws HostError if there is no such class or the pane lacks a function.
    installer_pane createPane(const std::string& className, const installer_pane_host& host) const;

  private:
    void* symbol(const char* name) const;
    void attachOnce(const installer_host_services& services) const;

    std::string file_;
    void* handle_;
};

}  // namespace quillmoor::host
