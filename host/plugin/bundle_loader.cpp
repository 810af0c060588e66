#include "host/plugin/bundle_loader.h"

#include "host/plugin/host_services.h"

namespace quillmoor::host {

std::unique_ptr<PluginPane> loadBundle(const std::string& path, const BundleSetting& setting) {
    const BundleInfo info = readBundleInfo(path);
    Interface interface = loadInterface(info, findInterfaceFile(info, setting.languages));
    // From here on the plug-in's own code runs.
    const PluginLibrary library(info, HostServices::shared().table());
    return std::make_unique<PluginPane>(info, library, std::move(interface), setting.transcript,
                                        setting.go);
}

}  // namespace quillmoor::host
