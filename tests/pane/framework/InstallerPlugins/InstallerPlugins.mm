#import <InstallerPlugins/stand_in.h>

@interface InstallerPane (OfSection)
- (void)setSection:(InstallerSection*)section;
@end

@implementation InstallerSection

// The stand-in's own, kept out of the public class.
static id<PaneNavigator> sectionNavigator = nil;

- (id)initWithBundle:(NSBundle*)bundle navigator:(id<PaneNavigator>)navigator {
    self = [super init];
    if (self == nil) return nil;
    _bundle = bundle;
    sectionNavigator = navigator;
    NSString* interfaceFile = [bundle objectForInfoDictionaryKey:@"NSMainNibFile"];
    NSDictionary* names = [NSDictionary dictionaryWithObject:self forKey:NSNibOwner];
    if (interfaceFile != nil && [bundle loadNibFile:interfaceFile
                                    externalNameTable:names
                                             withZone:NULL])
        return self;
    [self release];
    return nil;
}

- (id<PaneNavigator>)navigator {
    return sectionNavigator;
}

- (InstallerPane*)firstPane {
    return firstPane;
}

- (void)setFirstPane:(InstallerPane*)pane {
    firstPane = pane;
    [pane setSection:self];
}

- (NSBundle*)bundle {
    return _bundle;
}

- (NSString*)title {
    return [_bundle objectForInfoDictionaryKey:@"InstallerSectionTitle"];
}

@end

@implementation InstallerPane

- (id)initWithSection:(id)section {
    self = [super init];
    if (self != nil) _parentSection = section;
    return self;
}

- (void)setSection:(InstallerSection*)section {
    _parentSection = section;
}

- (InstallerSection*)section {
    return _parentSection;
}

- (NSView*)contentView {
    return contentView;
}

- (NSString*)title {
    return nil;
}

- (void)willEnterPane:(InstallerSectionDirection)direction {
    (void)direction;
}

- (void)didEnterPane:(InstallerSectionDirection)direction {
    (void)direction;
}

- (BOOL)shouldExitPane:(InstallerSectionDirection)direction {
    (void)direction;
    return YES;
}

- (void)willExitPane:(InstallerSectionDirection)direction {
    (void)direction;
}

- (void)didExitPane:(InstallerSectionDirection)direction {
    (void)direction;
}

- (BOOL)gotoNextPane {
    return [[_parentSection navigator] paneWantsNext:self];
}

- (BOOL)gotoPreviousPane {
    return [[_parentSection navigator] paneWantsPrevious:self];
}

@end
