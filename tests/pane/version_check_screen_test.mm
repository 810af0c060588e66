// The bundle as an installer on macOS loads it: by NSBundle, with its interface file, on a screen.
// The code is that of the Mac; below the pane are this computer's services.
#import <InstallerPlugins/stand_in.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/host/support/version_check.h"
#include "tests/pane/support/screen.h"
#include "tests/support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using quillmoor::test::Computer;
using quillmoor::test::readFile;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;

NSString* nsString(const std::string& text) {
    return [NSString stringWithUTF8String:text.c_str()];
}

std::string text(NSString* string) {
    return string == nil ? "nil" : [string UTF8String];
}

// The table from which the interface files are made.
NSDictionary* textsOfAllLanguages() {
    NSData* data = [NSData dataWithContentsOfFile:@TEXTS];
    return [NSJSONSerialization JSONObjectWithData:data options:0 error:NULL];
}

}  // namespace

// Records the requests of the pane.
@interface RecordingNavigator : NSObject <PaneNavigator> {
  @public
    std::vector<std::string> requests;
}
@end

@implementation RecordingNavigator

- (BOOL)paneWantsNext:(InstallerPane*)pane {
    (void)pane;
    requests.push_back("next");
    return YES;
}

- (BOOL)paneWantsPrevious:(InstallerPane*)pane {
    (void)pane;
    requests.push_back("previous");
    return YES;
}

@end

namespace {

// The bundle on a computer of the test, for as long as the process: its code stays loaded.
class LoadedBundle {
  public:
    static LoadedBundle& shared() {
        static LoadedBundle bundle;
        return bundle;
    }

    Computer computer;

    // A bundle whose interface files are of one form, "nib" or "xib".
    NSBundle* withInterface(const std::string& form) { return form == "nib" ? nibs_ : xibs_; }

  private:
    LoadedBundle() {
        computer.use();
        const std::string nibs = computer.bundleWithStub();
        const std::string xibs = computer.folder() / "xib/VersionCheck.bundle";
        fs::create_directories(fs::path(xibs).parent_path());
        fs::copy(nibs, xibs, fs::copy_options::recursive);
        for (const std::string language : {"en", "de"}) {
            const std::string folder = xibs + "/Contents/Resources/" + language + ".lproj";
            fs::remove(folder + "/VersionCheck.nib");
            fs::copy(std::string(XIBS) + "/" + language + ".lproj/VersionCheck.xib", folder);
        }
        // The code is in one of the bundles only: a process can have a class once.
        fs::copy_file(MAC_PLUGIN, nibs + "/Contents/Linux/VersionCheck-gnustep.so");
        nibs_ = open(nibs, @"nib");
        xibs_ = open(xibs, @"xib");
        if ([nibs_ principalClass] != [InstallerSection class]) throw std::runtime_error("no code");
    }

    // GNUstep looks for the program in the bundle's folder, unless a dictionary of its own says
    // otherwise, and returns the first of the bundles of one identifier.
    static NSBundle* open(const std::string& bundle, NSString* identifier) {
        NSString* contents = nsString(bundle + "/Contents");
        NSMutableDictionary* information = [NSMutableDictionary
            dictionaryWithContentsOfFile:[contents stringByAppendingPathComponent:@"Info.plist"]];
        [information setObject:@"Linux/VersionCheck-gnustep.so" forKey:@"NSExecutable"];
        [information setObject:identifier forKey:@"CFBundleIdentifier"];
        [information writeToFile:[contents stringByAppendingPathComponent:@"Info-gnustep.plist"]
                      atomically:NO];
        return [[NSBundle alloc] initWithPath:contents];
    }

    NSBundle* nibs_ = nil;
    NSBundle* xibs_ = nil;
};

class VersionCheckScreen : public ::testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        const std::string missing = quillmoor::test::startScreen();
        if (!missing.empty()) GTEST_SKIP() << missing;
        pool_ = [[NSAutoreleasePool alloc] init];
        navigator_ = [[[RecordingNavigator alloc] init] autorelease];
        fs::remove(computer().opened());
        computer().uninstall();
    }
    void TearDown() override {
        [window_ close];
        [pool_ release];
    }

    static Computer& computer() { return LoadedBundle::shared().computer; }

    // Shows the pane of the bundle in a window.
    void load(NSString* language = @"English") {
        [NSUserDefaults setUserLanguages:@[ language, @"English" ]];
        NSBundle* bundle = LoadedBundle::shared().withInterface(GetParam());
        const Class principal =
            NSClassFromString([bundle objectForInfoDictionaryKey:@"NSPrincipalClass"]);
        const auto has = [&](NSString* type) {
            return [bundle pathForResource:@"VersionCheck" ofType:type] != nil;
        };
        ASSERT_EQ(has(@"nib"), std::string(GetParam()) == "nib");
        ASSERT_EQ(has(@"xib"), std::string(GetParam()) == "xib");
        section_ = [[[principal alloc] initWithBundle:bundle navigator:navigator_] autorelease];
        ASSERT_NE(section_, nil);
        pane_ = [section_ firstPane];
        ASSERT_EQ(text(NSStringFromClass([pane_ class])), "RK_MessageViewPane");
        const NSRect frame = NSMakeRect(40, 60, 418, 330);
        window_ = [[NSWindow alloc] initWithContentRect:frame
                                              styleMask:NSBorderlessWindowMask
                                                backing:NSBackingStoreBuffered
                                                  defer:NO];
        [window_ setContentView:[pane_ contentView]];
        [window_ makeKeyAndOrderFront:nil];
    }
    id element(NSString* name) { return [pane_ valueForKey:name]; }
    int shown() {
        int count = 0;
        for (NSString* name in @[ @"titleText", @"descriptionText", @"uninstallBtn" ])
            count += element(name) == nil || [element(name) isHidden] ? 0 : 1;
        return count;
    }
    std::vector<std::string> opened() {
        std::vector<std::string> lines;
        std::istringstream text(readFile(computer().opened()));
        for (std::string line; std::getline(text, line);) lines.push_back(line);
        return lines;
    }
    // What the text of a control needs within the control's width.
    static NSSize sizeOfText(NSControl* control) {
        if ([control isKindOfClass:[NSButton class]]) return [[control cell] cellSize];
        const NSSize most = NSMakeSize([control bounds].size.width, 10000);
        return [[control attributedStringValue]
                   boundingRectWithSize:most
                                options:NSStringDrawingUsesLineFragmentOrigin]
            .size;
    }
    // Sends events until that many copies of the uninstaller have started.
    void waitForOpened(std::size_t count) {
        quillmoor::test::sendEventsUntil([&] { return opened().size() >= count; });
    }

    NSAutoreleasePool* pool_ = nil;
    RecordingNavigator* navigator_ = nil;
    InstallerSection* section_ = nil;
    InstallerPane* pane_ = nil;
    NSWindow* window_ = nil;
};

TEST_P(VersionCheckScreen, HasItsOutletsAndItsActionJoined) {
    ASSERT_NO_FATAL_FAILURE(load());
    EXPECT_EQ(text([section_ title]), "Version Check");
    EXPECT_EQ(text([pane_ title]), "Version Check");
    EXPECT_EQ([pane_ section], section_);
    EXPECT_TRUE([element(@"titleText") isKindOfClass:[NSTextField class]]);
    EXPECT_TRUE([element(@"descriptionText") isKindOfClass:[NSTextField class]]);
    EXPECT_TRUE([element(@"uninstallBtn") isKindOfClass:[NSButton class]]);
    EXPECT_EQ([element(@"uninstallBtn") target], pane_);
    EXPECT_EQ(text(NSStringFromSelector([element(@"uninstallBtn") action])), "uninstall:");
    EXPECT_EQ(shown(), 0);
}

TEST_P(VersionCheckScreen, HasTheFramesAndFontsOfItsInterfaceFile) {
    ASSERT_NO_FATAL_FAILURE(load());
    const auto frame = [](NSView* view) { return text(NSStringFromRect([view frame])); };
    EXPECT_EQ(frame(element(@"titleText")), text(NSStringFromRect(NSMakeRect(18, 293, 382, 17))));
    EXPECT_EQ(frame(element(@"descriptionText")),
              text(NSStringFromRect(NSMakeRect(18, 140, 382, 141))));
    EXPECT_EQ(frame(element(@"uninstallBtn")),
              text(NSStringFromRect(NSMakeRect(14, 101, 200, 32))));
    for (NSString* name in @[ @"titleText", @"descriptionText", @"uninstallBtn" ]) {
        EXPECT_EQ([[element(name) font] pointSize], 13) << text(name);
        EXPECT_EQ([element(name) superview], [pane_ contentView]);
    }
    EXPECT_FALSE([element(@"titleText") isEditable]);
    EXPECT_FALSE([element(@"titleText") isBezeled]);
    EXPECT_FALSE([element(@"titleText") drawsBackground]);
    EXPECT_EQ([element(@"titleText") autoresizingMask], NSViewWidthSizable | NSViewMinYMargin);
    EXPECT_EQ([element(@"uninstallBtn") autoresizingMask], NSViewMaxXMargin | NSViewMinYMargin);
    EXPECT_EQ([element(@"uninstallBtn") bezelStyle], NSRoundedBezelStyle);
    // GNUstep does not read the bold font's name in an .xib.
    if (std::string(GetParam()) == "nib")
        EXPECT_THAT(text([[element(@"titleText") font] fontName]), EndsWith("Bold"));
}

TEST_P(VersionCheckScreen, HasTheTextsOfTheLanguage) {
    const auto expectTexts = [&](NSString* language) {
        NSDictionary* texts = [textsOfAllLanguages() objectForKey:language];
        for (NSString* name in @[ @"titleText", @"descriptionText" ])
            EXPECT_EQ(text([element(name) stringValue]), text([texts objectForKey:name]));
        NSString* button = [texts objectForKey:@"uninstallBtn"];
        EXPECT_EQ(text([element(@"uninstallBtn") title]),
                  text([button stringByReplacingOccurrencesOfString:@"&" withString:@""]));
        EXPECT_EQ(text([element(@"uninstallBtn") toolTip]),
                  text([texts objectForKey:@"uninstallBtnDescription"]));
    };
    ASSERT_NO_FATAL_FAILURE(load());
    expectTexts(@"en");
    EXPECT_EQ(text([element(@"titleText") stringValue]), "Tallyframe is already installed");
    [window_ close];
    ASSERT_NO_FATAL_FAILURE(load(@"German"));
    expectTexts(@"de");
    EXPECT_EQ(text([element(@"uninstallBtn") title]), "Deinstallation öffnen …");
}

TEST_P(VersionCheckScreen, HasATitleForTheStepInEachLanguage) {
    ASSERT_NO_FATAL_FAILURE(load());
    NSDictionary* texts = textsOfAllLanguages();
    for (NSString* language in texts) {
        NSString* file = [[section_ bundle] pathForResource:@"InfoPlist"
                                                     ofType:@"strings"
                                                inDirectory:nil
                                            forLocalization:language];
        NSDictionary* strings =
            [[NSString stringWithContentsOfFile:file encoding:NSUTF8StringEncoding
                                          error:NULL] propertyListFromStringsFileFormat];
        EXPECT_EQ(text([strings objectForKey:@"InstallerSectionTitle"]),
                  text([[texts objectForKey:language] objectForKey:@"sectionTitle"]));
    }
}

TEST_P(VersionCheckScreen, WithoutTheProductIsPassedOverUnseen) {
    ASSERT_NO_FATAL_FAILURE(load());
    [pane_ didEnterPane:InstallerDirectionForward];
    [pane_ didEnterPane:InstallerDirectionBackward];
    [pane_ didEnterPane:InstallerDirectionUndefined];
    EXPECT_THAT(navigator_->requests, ::testing::ElementsAre("next", "previous", "next"));
    EXPECT_EQ(shown(), 0);
    EXPECT_TRUE(quillmoor::test::isBlank([pane_ contentView]));
}

TEST_P(VersionCheckScreen, WithTheProductIsOnScreen) {
    for (NSString* language in @[ @"English", @"German" ]) {
        ASSERT_NO_FATAL_FAILURE(load(language));
        computer().install();
        [pane_ didEnterPane:InstallerDirectionForward];
        EXPECT_EQ(shown(), 3);
        EXPECT_THAT(navigator_->requests, IsEmpty());
        EXPECT_FALSE(quillmoor::test::isBlank([pane_ contentView]));
        for (NSString* name in @[ @"titleText", @"descriptionText", @"uninstallBtn" ]) {
            const NSSize given = [element(name) bounds].size;
            const NSSize needed = sizeOfText(element(name));
            EXPECT_LE(needed.width, given.width) << text(name);
            EXPECT_LE(needed.height, given.height) << text(name);
        }
        quillmoor::test::savePicture(
            [pane_ contentView],
            std::string(PICTURES) + "/version-check-" + GetParam() + "-" + text(language) + ".png");
        [window_ close];
        window_ = nil;
    }
}

TEST_P(VersionCheckScreen, AClickUnpacksTheUninstallerAndOpensIt) {
    computer().install();
    ASSERT_NO_FATAL_FAILURE(load());
    [pane_ didEnterPane:InstallerDirectionForward];
    quillmoor::test::click(element(@"uninstallBtn"));
    waitForOpened(1);
    ASSERT_THAT(opened(), SizeIs(1));
    EXPECT_THAT(opened()[0], EndsWith("/Tallyframe Uninstaller.app/Contents/Linux/Stub"));
    EXPECT_TRUE(quillmoor::test::somethingAt(opened()[0])) << "the unpacked copy must stay";
    EXPECT_EQ(shown(), 3);
}

TEST_P(VersionCheckScreen, PressingTwiceOpensTwoCopies) {
    computer().install();
    ASSERT_NO_FATAL_FAILURE(load());
    [pane_ didEnterPane:InstallerDirectionForward];
    [element(@"uninstallBtn") performClick:nil];
    [element(@"uninstallBtn") performClick:nil];
    waitForOpened(2);
    ASSERT_THAT(opened(), SizeIs(2));
    EXPECT_NE(opened()[0], opened()[1]);
}

INSTANTIATE_TEST_SUITE_P(Interface, VersionCheckScreen, ::testing::Values("nib", "xib"),
                         [](const auto& each) { return std::string(each.param); });

}  // namespace
