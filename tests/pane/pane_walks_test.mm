// The pane of macOS on the walks of the table, between two panes of an installer.
#include <gtest/gtest.h>

#include <string>

#include "quillmoor/log/KXLog.h"
#import "quillmoor/pane/RK_MessageViewPane_macos.h"
#include "tests/pane/support/pane_fakes.h"
#include "tests/pane/support/walk_table.h"

namespace {

// The steps of an installer: the pane has the middle one.
class Steps {
  public:
    explicit Steps(InstallerPane* pane) : pane_(pane) {}
    // The user's Continue and Go Back: the pane is asked first.
    void travel(InstallerSectionDirection direction) {
        if (position_ != 1 || [pane_ shouldExitPane:direction]) go(direction);
    }
    // The pane's own request, inside didEnterPane: or later: it is not asked.
    void go(InstallerSectionDirection direction) {
        position_ += direction == InstallerDirectionBackward ? -1 : 1;
        if (position_ == 1) [pane_ didEnterPane:direction];
    }
    std::string current() const {
        return position_ == 0   ? "Introduction"
               : position_ == 1 ? [[pane_ title] UTF8String]
               : position_ == 2 ? "Summary"
                                : "none";
    }

  private:
    InstallerPane* pane_;
    int position_ = 0;
};

}  // namespace

// The pane, with an installer around it.
@interface WalkedPane : RK_MessageViewPane {
  @public
    Steps* steps;
}
@end

@implementation WalkedPane

- (BOOL)gotoNextPane {
    steps->go(InstallerDirectionForward);
    return YES;
}

- (BOOL)gotoPreviousPane {
    steps->go(InstallerDirectionBackward);
    return YES;
}

@end

// An element that is hidden at first, as in the interface file.
@interface HiddenElement : NSObject {
  @public
    BOOL shown;
}
- (void)setHidden:(BOOL)hidden;
@end

@implementation HiddenElement

- (void)setHidden:(BOOL)hidden {
    shown = !hidden;
}

@end

namespace {

TEST(PaneWalks, LeadWhereTheTableSays) {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    quillmoor::test::FakeApplications applications;
    quillmoor::test::ScopedPlatform platform;
    platform->applications = &applications;
    const auto setInstalled = [&](bool installed) {
        applications.product.reset();
        if (installed) applications.product = "/Applications/Tallyframe.app";
    };
    for (const auto& walk : quillmoor::test::readWalks(WALKS)) {
        SCOPED_TRACE(walk.line);
        WalkedPane* pane = [[[WalkedPane alloc] init] autorelease];
        Steps steps(pane);
        pane->steps = &steps;
        HiddenElement* elements[3];
        NSArray* names = @[ @"titleText", @"descriptionText", @"uninstallBtn" ];
        for (NSUInteger i = 0; i < 3; ++i) {
            elements[i] = [[[HiddenElement alloc] init] autorelease];
            [pane setValue:elements[i] forKey:[names objectAtIndex:i]];
        }
        setInstalled(walk.installed);
        for (std::size_t i = 0; i < walk.steps.size(); ++i) {
            const std::string& step = walk.steps[i];
            if (step == "continue")
                steps.travel(InstallerDirectionForward);
            else if (step == "back")
                steps.travel(InstallerDirectionBackward);
            else if (step == "install" || step == "remove")
                setInstalled(step == "install");
            else
                ADD_FAILURE() << "unknown step " << step;
            EXPECT_EQ(steps.current(), walk.panes[i]) << "step " << i + 1 << ", " << step;
            if (steps.current() != "Version Check") continue;
            for (HiddenElement* element : elements) EXPECT_TRUE(element->shown);
        }
    }
    [pool release];
}

}  // namespace
