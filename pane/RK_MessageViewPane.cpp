#include "quillmoor/pane/RK_MessageViewPane.h"

#include "quillmoor/pane/installed_product.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

// An outlet is null when the interface file lacks its element.
void show(Control* control) {
    if (control != nullptr) control->setHidden(false);
}

// The archive in the bundle that contains this code: the main bundle is the installer's.
OptionalPath uninstallerArchive() {
    const auto bundle = platform::current().bundles->bundleForCode(
        reinterpret_cast<const void*>(&uninstallerArchive));
    if (!bundle) return std::nullopt;
    return bundle->pathForResource(kUninstallerName, kUninstallerType);
}

}  // namespace

std::string RK_MessageViewPane::title() {
    return "Version Check";
}

void RK_MessageViewPane::didEnterPane(InstallerDirection direction) {
    // Looked for on every entry: the product may have been installed or removed since the last one.
    if (installedProduct()) {
        show(titleText);
        show(descriptionText);
        show(uninstallBtn);
        // An equality with backward: an undefined direction counts as forward.
    } else if (direction == InstallerDirection::Backward) {
        gotoPreviousPane();
    } else {
        gotoNextPane();
    }
}

bool RK_MessageViewPane::shouldExitPane(InstallerDirection /*direction*/) {
    return true;
}

void RK_MessageViewPane::uninstall(Control* /*sender*/) {
    const OptionalPath archive = uninstallerArchive();
    // A new name for each press: an earlier copy may still run.
    const std::string scratch = KXLocalPaths::tempFile();
    // Whether it was unpacked is not asked: opening what is not there fails as silently.
    platform::current().applications->openFile(unpackUninstaller(archive, scratch));
}

}  // namespace quillmoor
