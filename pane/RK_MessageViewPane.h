// The one pane of Version Check.
#pragma once

#include <string>

#include "quillmoor/pane/installer_pane.h"

namespace quillmoor {

// If Tallyframe is installed on this computer, the pane says so and offers the uninstaller;
// otherwise it leaves at once, in the user's direction of travel, and is not shown. Failures are
// not reported, neither by an alert nor in the log. Throws std::bad_alloc only. All functions must
// be called on the installer's main thread.
class RK_MessageViewPane : public InstallerPane {
  public:
    using InstallerPane::InstallerPane;

    // Outlets, set from the interface file, where all three are hidden. The pane shows them and
    // never hides them. Not owned; null for an element that the interface file lacks.
    Control* titleText = nullptr;
    Control* descriptionText = nullptr;
    Control* uninstallBtn = nullptr;

    // `title`: "Version Check", in every language.
    std::string title() override;

    // `didEnterPane:`: searches for the product on every entry. If it is found, shows the outlets;
    // else goes to the previous pane for Backward, and to the next one for every other direction.
    // A product that was removed or installed since the last visit is noticed. The search looks for
    // the application's identifier, wherever the application is, and blocks until it has ended.
    void didEnterPane(InstallerDirection direction) override;

    // `shouldExitPane:`: true for every direction.
    bool shouldExitPane(InstallerDirection direction) override;

    // `uninstall:`: unpacks the uninstaller into a new folder in the temporary folder and opens it.
    // Blocks until it is unpacked, not until the uninstaller ends. Each call unpacks another copy,
    // which is not removed. A failure is not reported, and leaves the pane as it was. `sender` is
    // not used and may be null.
    void uninstall(Control* sender);
};

}  // namespace quillmoor
