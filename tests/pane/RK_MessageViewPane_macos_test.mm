#import "quillmoor/pane/RK_MessageViewPane_macos.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>

#include <stdexcept>
#include <string>

#include "quillmoor/base/paths.h"
#include "quillmoor/log/KXLog.h"
#include "tests/pane/support/pane_fakes.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace {

using quillmoor::StringList;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// What the pane did, in order.
StringList& events() {
    static auto& all = *new StringList;
    return all;
}

}  // namespace

// An element of an interface file, without a window.
@interface RecordingElement : NSObject {
    NSString* _name;
}
+ (id)elementNamed:(NSString*)name;
- (void)setHidden:(BOOL)hidden;
@end

@implementation RecordingElement

+ (id)elementNamed:(NSString*)name {
    RecordingElement* element = [[[self alloc] init] autorelease];
    element->_name = name;
    return element;
}

- (void)setHidden:(BOOL)hidden {
    events().push_back((hidden ? "hide " : "show ") + std::string([_name UTF8String]));
}

@end

// An element that cannot be shown.
@interface RaisingElement : RecordingElement
@end

@implementation RaisingElement

- (void)setHidden:(BOOL)hidden {
    [super setHidden:hidden];
    [NSException raise:NSInternalInconsistencyException format:@"the element is broken"];
}

@end

// The pane with a recording installer.
@interface RecordingPane : RK_MessageViewPane
@end

@implementation RecordingPane

- (BOOL)gotoNextPane {
    events().push_back("next");
    return YES;
}

- (BOOL)gotoPreviousPane {
    events().push_back("previous");
    return YES;
}

@end

// The pane with an installer that raises.
@interface StrandedPane : RK_MessageViewPane
@end

@implementation StrandedPane

- (BOOL)gotoNextPane {
    [NSException raise:NSGenericException format:@"there is no section"];
    return NO;
}

@end

namespace {

InstallerSectionDirection direction(long value) {
    return static_cast<InstallerSectionDirection>(value);
}

class MacPane : public ::testing::Test {
  protected:
    MacPane() : pool_([[NSAutoreleasePool alloc] init]), pane_([[RecordingPane alloc] init]) {
        events().clear();
        for (NSString* name in @[ @"titleText", @"descriptionText", @"uninstallBtn" ])
            [pane_ setValue:[RecordingElement elementNamed:name] forKey:name];
        platform_->applications = &applications_;
        platform_->toolPaths = &tools_;
        platform_->bundles = &bundles_;
    }
    ~MacPane() override {
        [pane_ release];
        [pool_ release];
    }
    // The log's worker uses the fakes.
    void TearDown() override { quillmoor::KXLog::finishWriting(); }
    void install() { applications_.product = "/Applications/Tallyframe.app"; }
    void useTool() {
        tools_.tool = quillmoor::test::writeTool(folder_);
        bundles_.own->archive = folder_.writeFile("Tallyframe Uninstaller.zip");
    }

    NSAutoreleasePool* pool_;
    RecordingPane* pane_;
    quillmoor::test::FakeApplications applications_;
    quillmoor::test::FakeTools tools_;
    quillmoor::test::FakeBundles bundles_;
    quillmoor::test::ScopedPlatform platform_;
    quillmoor::test::TempFolder folder_;
};

TEST_F(MacPane, IsAPaneOfTheInstallerWithThreeTypedOutlets) {
    const Class pane = [RK_MessageViewPane class];
    EXPECT_EQ(class_getSuperclass(pane), [InstallerPane class]);
    const auto type = [&](const char* name) {
        const Ivar variable = class_getInstanceVariable(pane, name);
        return variable == nullptr ? std::string() : std::string(ivar_getTypeEncoding(variable));
    };
    EXPECT_EQ(type("titleText"), "@\"NSTextField\"");
    EXPECT_EQ(type("descriptionText"), "@\"NSTextField\"");
    EXPECT_EQ(type("uninstallBtn"), "@\"NSButton\"");
}

TEST_F(MacPane, HasNoStateButItsOutlets) {
    unsigned count = 0;
    std::free(class_copyIvarList([RK_MessageViewPane class], &count));
    EXPECT_EQ(count, 3U);
}

TEST_F(MacPane, OverridesTheCallbacksAndHasTheAction) {
    for (SEL name : { @selector(title), @selector(didEnterPane:), @selector(shouldExitPane:) })
        EXPECT_NE([RK_MessageViewPane instanceMethodForSelector:name],
                  [InstallerPane instanceMethodForSelector:name])
            << sel_getName(name);
    EXPECT_TRUE([RK_MessageViewPane instancesRespondToSelector:@selector(uninstall:)]);
}

// Methods of that kind run when the class is loaded or first used.
TEST_F(MacPane, HasNoClassMethods) {
    unsigned count = 0;
    std::free(class_copyMethodList(object_getClass([RK_MessageViewPane class]), &count));
    EXPECT_EQ(count, 0U);
}

TEST_F(MacPane, IsTitledVersionCheck) {
    EXPECT_STREQ([[pane_ title] UTF8String], "Version Check");
}

TEST_F(MacPane, MayAlwaysBeLeft) {
    for (const bool installed : {false, true}) {
        if (installed) install();
        for (const long value : {0, 1, 2, 7, -1})
            EXPECT_EQ([pane_ shouldExitPane:direction(value)], YES) << value;
    }
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(MacPane, WithoutTheProductGoesOnInTheDirectionOfTravel) {
    [pane_ didEnterPane:InstallerDirectionForward];
    EXPECT_THAT(events(), ElementsAre("next"));
    events().clear();
    [pane_ didEnterPane:InstallerDirectionBackward];
    EXPECT_THAT(events(), ElementsAre("previous"));
}

TEST_F(MacPane, AnyOtherDirectionCountsAsForward) {
    for (const long value : {2, 3, -1, 257}) {
        events().clear();
        [pane_ didEnterPane:direction(value)];
        EXPECT_THAT(events(), ElementsAre("next")) << value;
    }
}

TEST_F(MacPane, WithTheProductShowsItsElementsInOrderAndStays) {
    install();
    for (const long value : {0, 1, 2, 7}) {
        events().clear();
        [pane_ didEnterPane:direction(value)];
        EXPECT_THAT(events(),
                    ElementsAre("show titleText", "show descriptionText", "show uninstallBtn"));
    }
}

TEST_F(MacPane, SearchesForTheProductOnEveryEntry) {
    install();
    [pane_ didEnterPane:InstallerDirectionForward];
    applications_.product = std::nullopt;
    events().clear();
    [pane_ didEnterPane:InstallerDirectionBackward];
    EXPECT_THAT(events(), ElementsAre("previous"));
    EXPECT_THAT(applications_.looked,
                ElementsAre("com.quillmoor.tallyframe", "com.quillmoor.tallyframe"));
}

TEST_F(MacPane, IgnoresAMissingOutlet) {
    install();
    [pane_ setValue:nil forKey:@"titleText"];
    [pane_ setValue:nil forKey:@"uninstallBtn"];
    [pane_ didEnterPane:InstallerDirectionForward];
    EXPECT_THAT(events(), ElementsAre("show descriptionText"));
    [pane_ setValue:nil forKey:@"descriptionText"];
    [pane_ didEnterPane:InstallerDirectionForward];
    EXPECT_EQ(events().size(), 1U);
}

TEST_F(MacPane, PressingTwiceUnpacksAndOpensTwoCopies) {
    useTool();
    [pane_ uninstall:nil];
    [pane_ uninstall:pane_];
    EXPECT_THAT(bundles_.own->asked, ElementsAre("Tallyframe Uninstaller", "zip"));
    ASSERT_EQ(applications_.opened.size(), 2U);
    EXPECT_NE(applications_.opened[0], applications_.opened[1]);
    for (const std::string& opened : applications_.opened) {
        EXPECT_EQ(quillmoor::lastPathComponent(opened), "Tallyframe Uninstaller.app");
        EXPECT_TRUE(quillmoor::test::somethingAt(opened));
    }
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(MacPane, AMissingArchiveShowsNoReaction) {
    useTool();
    bundles_.own->archive = std::nullopt;
    [pane_ uninstall:nil];
    EXPECT_EQ(quillmoor::test::readFile(folder_ / "arguments"), "[-xk]");
    EXPECT_THAT(events(), IsEmpty());
}

// The computer below the pane, failing in the way of one language or the other.
class FailingApplications : public quillmoor::test::ForwardingApplications {
  public:
    bool raises = false;
    int calls = 0;
    quillmoor::OptionalPath absolutePathForAppBundle(const std::string&) override {
        fail();
        return std::nullopt;
    }
    bool openFile(const std::string&) override {
        fail();
        return false;
    }

  private:
    void fail() {
        ++calls;
        if (raises) [NSException raise:NSGenericException format:@"no workspace"];
        throw std::runtime_error("no workspace");
    }
};

TEST_F(MacPane, NoExceptionOfTheComputerLeavesACallback) {
    useTool();
    FailingApplications failing;
    platform_->applications = &failing;
    for (const bool raises : {false, true}) {
        failing.raises = raises;
        failing.calls = 0;
        [pane_ didEnterPane:InstallerDirectionForward];
        [pane_ uninstall:nil];
        EXPECT_EQ(failing.calls, 2);
    }
    EXPECT_THAT(events(), IsEmpty());
    platform_->applications = &applications_;
}

TEST_F(MacPane, NoExceptionOfAnElementLeavesTheCallback) {
    install();
    [pane_ setValue:[RaisingElement elementNamed:@"descriptionText"] forKey:@"descriptionText"];
    [pane_ didEnterPane:InstallerDirectionForward];
    EXPECT_THAT(events(), ElementsAre("show titleText", "show descriptionText"));
    [pane_ didEnterPane:InstallerDirectionForward];
    EXPECT_EQ(events().size(), 4U) << "the pane must remain usable";
}

TEST_F(MacPane, NoExceptionOfTheInstallerLeavesTheCallback) {
    StrandedPane* pane = [[[StrandedPane alloc] init] autorelease];
    [pane didEnterPane:InstallerDirectionForward];
    EXPECT_THAT(applications_.looked, ElementsAre("com.quillmoor.tallyframe"));
}

}  // namespace
