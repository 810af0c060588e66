#import "quillmoor/pane/RK_MessageViewPane_macos.h"

#include <string>

#include "quillmoor/pane/RK_MessageViewPane.h"
#include "quillmoor/pane/exception_barrier_macos.h"

namespace {

// An outlet. One that the interface file lacks is nil, to which a message has no effect.
class Outlet : public quillmoor::Control {
  public:
    explicit Outlet(NSView* view) : view_(view) {}
    void setHidden(bool hidden) override { [view_ setHidden:hidden ? YES : NO]; }

  private:
    NSView* view_;
};

class Navigation : public quillmoor::PaneNavigation {
  public:
    explicit Navigation(InstallerPane* pane) : pane_(pane) {}
    void gotoNextPane() override { [pane_ gotoNextPane]; }
    void gotoPreviousPane() override { [pane_ gotoPreviousPane]; }

  private:
    InstallerPane* pane_;
};

// The pane for one call. It has no state that must last longer.
struct Pane {
    explicit Pane(InstallerPane* self) : navigation(self), pane(navigation) {}
    Navigation navigation;  // before the pane, which refers to it
    quillmoor::RK_MessageViewPane pane;
};

// A value that the enumeration does not name is passed on.
quillmoor::InstallerDirection translated(InstallerSectionDirection direction) {
    return static_cast<quillmoor::InstallerDirection>(direction);
}

}  // namespace

@implementation RK_MessageViewPane

- (NSString*)title {
    NSString* title = @"";
    quillmoor::contain(
        [&] { title = [NSString stringWithUTF8String:Pane(self).pane.title().c_str()]; });
    return title;
}

- (void)didEnterPane:(InstallerSectionDirection)direction {
    quillmoor::contain([&] {
        Outlet title(titleText);
        Outlet description(descriptionText);
        Outlet button(uninstallBtn);
        Pane shell(self);
        shell.pane.titleText = &title;
        shell.pane.descriptionText = &description;
        shell.pane.uninstallBtn = &button;
        shell.pane.didEnterPane(translated(direction));
    });
}

- (BOOL)shouldExitPane:(InstallerSectionDirection)direction {
    bool mayExit = true;
    quillmoor::contain([&] { mayExit = Pane(self).pane.shouldExitPane(translated(direction)); });
    return mayExit ? YES : NO;
}

- (IBAction)uninstall:(id)sender {
    (void)sender;
    quillmoor::contain([&] { Pane(self).pane.uninstall(nullptr); });
}

@end
