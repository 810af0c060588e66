// The system's C objects as fakes that count who owns what, and the user at the console.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace quillmoor::test {

// What the objects of a test are; they are never removed from memory, so that a second release is
// noticed.
struct FakeObjects {
    // Objects that were made and not released, and releases of what was released before.
    static int alive();
    static int wronglyReleased();
    static CFStringRef makeString(const std::string& text);
    static CFURLRef makeUrl(const std::string& path);
    static CFNumberRef makeNumber(double value);
    // Each entry's value is released with it.
    static CFDictionaryRef makeDictionary(const std::map<std::string, CFTypeRef>& entries);
    // Any other object, of that description. `whenReleased` is called when it has no owner left.
    static CFTypeRef makeOther(const std::string& text, std::function<void()> whenReleased);
    static int ownersOf(CFTypeRef object);
    static std::string textOf(CFTypeRef object);  // of a null pointer: "(null)"
};

// One at a time: the user at the console, nil for none. Counts the calls, and whether one passed a
// store or asked for a number.
struct FakeConsole {
    FakeConsole();
    ~FakeConsole();
    FakeConsole(const FakeConsole&) = delete;
    FakeConsole& operator=(const FakeConsole&) = delete;

    std::optional<std::string> user;
    int calls = 0;
    bool asksForMore = false;
};

}  // namespace quillmoor::test
