// A stand-in for the framework InstallerPlugins, which only macOS has: the part that a pane uses,
// with the names and the types of its public documentation. What the real one does with windows and
// packages is not in it.
#import <AppKit/AppKit.h>

typedef NS_ENUM(NSInteger, InstallerSectionDirection) {
    InstallerDirectionForward = 0,
    InstallerDirectionBackward = 1,
    InstallerDirectionUndefined = 2
};

@class InstallerPane;

// The owner of an interface file, which joins `firstPane`.
@interface InstallerSection : NSObject {
    NSBundle* _bundle;
    IBOutlet InstallerPane* firstPane;
}
- (InstallerPane*)firstPane;
- (void)setFirstPane:(InstallerPane*)pane;
- (NSBundle*)bundle;
// The title of the information dictionary, in the user's language.
- (NSString*)title;
@end

@interface InstallerPane : NSObject {
    InstallerSection* _parentSection;
    IBOutlet NSView* contentView;
    IBOutlet NSView* firstKeyView;
    IBOutlet NSView* initialKeyView;
    IBOutlet NSView* lastKeyView;
    IBOutlet InstallerPane* nextPane;
}
- (id)initWithSection:(id)section;
- (InstallerSection*)section;
- (NSView*)contentView;
- (NSString*)title;
- (void)willEnterPane:(InstallerSectionDirection)direction;
- (void)didEnterPane:(InstallerSectionDirection)direction;
- (BOOL)shouldExitPane:(InstallerSectionDirection)direction;
- (void)willExitPane:(InstallerSectionDirection)direction;
- (void)didExitPane:(InstallerSectionDirection)direction;
// NO where there is no such pane. The pane is then left without being asked.
- (BOOL)gotoNextPane;
- (BOOL)gotoPreviousPane;
@end
