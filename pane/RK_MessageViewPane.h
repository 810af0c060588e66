// The one pane of Version Check.
#pragma once

#include <string>

#include "quillmoor/pane/installer_pane.h"

namespace quillmoor {

// Notices that Tallyframe is on this computer and offers its uninstaller; otherwise it passes
// itself over in the user's direction of travel. Reports nothing: no alert, no log line. Throws
// nothing but std::bad_alloc. Everything runs on the installer's main thread.
class RK_MessageViewPane : public InstallerPane {
  public:
    using InstallerPane::InstallerPane;

    // Outlets, set from the interface file, where all three are hidden. The pane only ever shows
    // them. One that is missing is passed over.
    Control* titleText = nullptr;
    Control* descriptionText = nullptr;
    Control* uninstallBtn = nullptr;

    // `title`: "Version Check".
    std::string title() override;

    // `didEnterPane:`: looks for the product, anew on every entry.
    void didEnterPane(InstallerDirection direction) override;

    // `shouldExitPane:`: always yes.
    bool shouldExitPane(InstallerDirection direction) override;

    // `uninstall:`: unpacks the uninstaller into a fresh folder of the temporary folder and opens
    // it. Waits for the unpacking. The unpacked copy stays; a failure is not reported.
    void uninstall(Control* sender);
};

}  // namespace quillmoor
