// Loads a bundle: from its folder to a pane that can be shown.
#pragma once

#include <QStringList>
#include <memory>
#include <string>

#include "host/plugin/plugin_pane.h"

namespace quillmoor::host {

// What bundles are loaded with. The transcript must outlive the panes.
struct BundleSetting {
    QStringList languages;  // the user's, best first
    Transcript& transcript;
    PluginPane::Go go;
};

// Reads the information dictionary and the interface file before any code of the plug-in runs.
// Throws HostError, whose message does not name the bundle.
std::unique_ptr<PluginPane> loadBundle(const std::string& path, const BundleSetting& setting);

}  // namespace quillmoor::host
