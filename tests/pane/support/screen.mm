#import "tests/pane/support/screen.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

constexpr int kHeight = 600;

bool isInstalled(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null").c_str()) == 0;
}

pid_t server = -1;

void stopServer() {
    ::kill(server, SIGTERM);  // it removes its socket
    ::waitpid(server, nullptr, 0);
}

// The server writes its number to a descriptor once it can be used. Should the process be killed,
// it ends with the thread that started it.
std::string startServer() {
    int number[2];
    if (::pipe(number) != 0) return "";
    const pid_t parent = ::getpid();
    server = ::fork();
    if (server == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != parent) ::_exit(127);
        const int nothing = ::open("/dev/null", O_RDWR);
        for (const int stream : {0, 1, 2}) ::dup2(nothing, stream);
        ::dup2(number[1], 3);
        ::execlp("Xvfb", "Xvfb", "-displayfd", "3", "-nolisten", "tcp", "-screen", "0",
                 "800x600x24", nullptr);
        ::_exit(127);
    }
    if (server < 0) return "";
    std::atexit(stopServer);
    ::close(number[1]);
    std::string text;
    for (char c = 0; ::read(number[0], &c, 1) == 1 && c != '\n';) text.push_back(c);
    ::close(number[0]);
    return text;
}

// Without a window manager, the toolkit draws frames itself. The application is active before the
// first click, which would else be used up to activate it.
void startApplication() {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    [[NSUserDefaults standardUserDefaults] registerDefaults:@{
        @"GSBackHandlesWindowDecorations" : @"YES",
        @"GSSuppressAppIcon" : @"YES",
    }];
    [NSApplication sharedApplication];
    [NSApp finishLaunching];
    [NSApp activateIgnoringOtherApps:YES];
    [pool release];
}

NSBitmapImageRep* picture(NSView* view) {
    [view display];
    [view lockFocus];
    NSBitmapImageRep* bitmap =
        [[[NSBitmapImageRep alloc] initWithFocusedViewRect:[view bounds]] autorelease];
    [view unlockFocus];
    return bitmap;
}

}  // namespace

std::string startScreen() {
    static std::string why = [] {
        for (const char* program : {"Xvfb", "xdotool"})
            if (!isInstalled(program)) return std::string(program) + " is not installed";
        const std::string number = startServer();
        if (number.empty()) return std::string("no X server started");
        ::setenv("DISPLAY", (":" + number).c_str(), 1);
        startApplication();
        return std::string();
    }();
    return why;
}

bool isBlank(NSView* view) {
    NSBitmapImageRep* bitmap = picture(view);
    NSColor* first = [bitmap colorAtX:0 y:0];
    for (NSInteger y = 0; y < [bitmap pixelsHigh]; ++y)
        for (NSInteger x = 0; x < [bitmap pixelsWide]; ++x)
            if (![[bitmap colorAtX:x y:y] isEqual:first]) return false;
    return true;
}

void savePicture(NSView* view, const std::string& path) {
    if (::access(std::filesystem::path(path).parent_path().c_str(), W_OK) != 0) return;
    NSData* data = [picture(view) representationUsingType:NSPNGFileType properties:nil];
    [data writeToFile:[NSString stringWithUTF8String:path.c_str()] atomically:YES];
}

void click(NSView* view) {
    const NSRect bounds = [view bounds];
    NSPoint middle = [view convertPoint:NSMakePoint(NSMidX(bounds), NSMidY(bounds)) toView:nil];
    middle = [[view window] convertBaseToScreen:middle];
    const std::string place = std::to_string(static_cast<int>(middle.x)) + " " +
                              std::to_string(kHeight - static_cast<int>(middle.y));
    // In the background: a button waits for the release inside its handling of the press.
    EXPECT_EQ(
        std::system(("xdotool mousemove " + place + " mousedown 1 sleep 0.1 mouseup 1 &").c_str()),
        0);
}

void sendEventsUntil(const std::function<bool()>& done) {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!done()) {
        ASSERT_LT(std::chrono::steady_clock::now(), latest) << "nothing happened";
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        NSEvent* event = [NSApp nextEventMatchingMask:NSAnyEventMask
                                            untilDate:[NSDate dateWithTimeIntervalSinceNow:0.02]
                                               inMode:NSDefaultRunLoopMode
                                              dequeue:YES];
        if (event != nil) [NSApp sendEvent:event];
        [pool release];
    }
}

}  // namespace quillmoor::test
