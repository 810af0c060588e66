// RK_MessageViewPane as the Installer on macOS knows it: the class that VersionCheck.nib names.
#import <InstallerPlugins/InstallerPlugins.h>

// Translates between the Installer and quillmoor::RK_MessageViewPane, whose header describes the
// callbacks. No exception leaves a callback: a call that fails returns an empty title, or lets the
// user leave, and shows nothing more. Nothing is done when the class is loaded, and the pane has no
// state but its outlets. All methods must be called on the main thread.
@interface RK_MessageViewPane : InstallerPane {
    // Set from the interface file, where all three are hidden. An outlet that the file lacks is
    // nil, and the pane does without that element.
    IBOutlet NSTextField* titleText;
    IBOutlet NSTextField* descriptionText;
    IBOutlet NSButton* uninstallBtn;
}

- (NSString*)title;
- (void)didEnterPane:(InstallerSectionDirection)direction;
- (BOOL)shouldExitPane:(InstallerSectionDirection)direction;

// The action of the button. `sender` is not used and may be nil.
- (IBAction)uninstall:(id)sender;

@end
