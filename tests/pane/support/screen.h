// A screen without a monitor for tests of views, and what is on it.
#pragma once

#import <AppKit/AppKit.h>

#include <functional>
#include <string>

namespace quillmoor::test {

// Starts an X server, which ends with the process, and keeps the files of GNUstep in the test's
// home. To be called before the application is made; later calls do nothing. Returns why there is
// no screen.
std::string startScreen();

// Returns whether all of a view has one colour.
bool isBlank(NSView* view);

// Writes a picture of a view, as PNG. Without effect where the user may not write.
void savePicture(NSView* view, const std::string& path);

// Presses the mouse on the middle of a view.
void click(NSView* view);

// Sends events until `done`; fails the test if that takes a minute.
void sendEventsUntil(const std::function<bool()>& done);

}  // namespace quillmoor::test
