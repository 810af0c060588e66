// A pane with the outlets and the action of the real one, for the tests of lint-bundle. With one of
// the macros it has the mistake that the macro names.
#import <InstallerPlugins/InstallerPlugins.h>

#ifndef PANE
#define PANE RK_MessageViewPane
#endif
#ifndef PARENT
#define PARENT InstallerPane
#endif
#ifndef TITLE_OUTLET
#define TITLE_OUTLET titleText
#endif
#ifndef TITLE_TYPE
#define TITLE_TYPE IBOutlet NSTextField*
#endif
#ifndef ACTION
#define ACTION \
    uninstall: \
    (id) sender
#endif

@interface PANE : PARENT {
    TITLE_TYPE TITLE_OUTLET;
    IBOutlet NSTextField* descriptionText;
    IBOutlet NSButton* uninstallBtn;
}
@end

@implementation PANE
- (NSString*)title {
    NSString* title = [NSString stringWithUTF8String:"Version Check"];
    return title ? title : @"";
}
- (void)didEnterPane:(InstallerSectionDirection)direction {
    [descriptionText setHidden:NO];
    [uninstallBtn setHidden:NO];
    InstallerPane* pane = (id)self;
    if (direction == InstallerDirectionBackward)
        [pane gotoPreviousPane];
    else
        [pane gotoNextPane];
}
- (BOOL)shouldExitPane:(InstallerSectionDirection)direction {
    (void)direction;
    return YES;
}
#ifndef ACTION_IN_CATEGORY
- (IBAction)ACTION {
#ifndef SCALAR_ACTION
    (void)sender;
#endif
}
#endif
#ifdef LOAD
+ (void)load {
}
#endif
@end

#ifdef ACTION_IN_CATEGORY
@interface PANE (Actions)
@end
@implementation PANE (Actions)
- (IBAction)uninstall:(id)sender {
    (void)sender;
}
#ifdef LOAD_IN_CATEGORY
+ (void)load {
}
#endif
@end
#endif

#ifdef SECOND_CLASS
@interface SECOND_CLASS : NSObject
@end
@implementation SECOND_CLASS
@end
#endif

#ifdef CONSTRUCTOR
__attribute__((constructor)) static void runsAtLoad() {}
#endif
