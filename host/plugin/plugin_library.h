// The shared object of a pane plug-in.
#pragma once

#include <string>

#include "host/plugin/bundle_info.h"
#include "quillmoor/pane/installer_plugin.h"

namespace quillmoor::host {

// Opened once and never unloaded. Belongs to the main thread.
class PluginLibrary {
  public:
    // Opens the bundle's shared object and has it attach itself to the host, the first time that it
    // is opened. Throws HostError. `services` must outlive the process's last thread.
    PluginLibrary(const BundleInfo& info, const installer_host_services& services);

    // Throws HostError when there is no such class or the pane is not complete.
    installer_pane createPane(const std::string& className, const installer_pane_host& host) const;

  private:
    void* symbol(const char* name) const;
    void attachOnce(const installer_host_services& services) const;

    std::string file_;
    void* handle_;
};

}  // namespace quillmoor::host
