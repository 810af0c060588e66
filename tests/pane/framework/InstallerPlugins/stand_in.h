// What the stand-in for the framework has beside the documented calls, for the programs that play
// the Installer.
#import <InstallerPlugins/InstallerPlugins.h>

// Takes a pane's requests to navigate.
@protocol PaneNavigator
- (BOOL)paneWantsNext:(InstallerPane*)pane;
- (BOOL)paneWantsPrevious:(InstallerPane*)pane;
@end

@interface InstallerSection (StandIn)
// Loads the bundle's main interface file, with the section as its owner. nil without one.
- (id)initWithBundle:(NSBundle*)bundle navigator:(id<PaneNavigator>)navigator;
- (id<PaneNavigator>)navigator;
@end
