#include "tests/platform/macos/fakes/fake_core_foundation.h"

#include <SystemConfiguration/SystemConfiguration.h>

#include <cstring>
#include <list>

namespace quillmoor::test {
namespace {

struct Object {
    std::string text;
    int owners = 1;
};

// Not destroyed: objects of the tests may be released at the very end.
std::list<Object>& objects() {
    static auto& all = *new std::list<Object>;
    return all;
}
int wrong = 0;
FakeConsole* console = nullptr;

Object& objectOf(CFTypeRef object) {
    return *static_cast<Object*>(const_cast<void*>(object));
}

CFTypeRef make(const std::string& text) {
    objects().push_back({text});
    return &objects().back();
}

Boolean put(const std::string& text, char* buffer, CFIndex size) {
    if (size < static_cast<CFIndex>(text.size()) + 1) return 0;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return 1;
}

}  // namespace

int FakeObjects::alive() {
    int count = 0;
    for (const Object& object : objects()) count += object.owners > 0 ? 1 : 0;
    return count;
}
int FakeObjects::wronglyReleased() {
    return wrong;
}
CFStringRef FakeObjects::makeString(const std::string& text) {
    return static_cast<CFStringRef>(make(text));
}
CFURLRef FakeObjects::makeUrl(const std::string& path) {
    return static_cast<CFURLRef>(make(path));
}
std::string FakeObjects::textOf(CFTypeRef object) {
    return objectOf(object).text;
}

FakeConsole::FakeConsole() {
    console = this;
}
FakeConsole::~FakeConsole() {
    console = nullptr;
}

}  // namespace quillmoor::test

using namespace quillmoor::test;

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;

void CFRelease(CFTypeRef object) {
    if (--objectOf(object).owners < 0) ++wrong;
}

// Of UTF-16, which differs from the bytes; the tests use two bytes for each unit at most.
CFIndex CFStringGetLength(CFStringRef text) {
    CFIndex length = 0;
    for (const char byte : objectOf(text).text) length += (byte & 0xC0) != 0x80 ? 1 : 0;
    return length;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    return encoding == kCFStringEncodingUTF8 ? 3 * length : -1;
}

// A text that begins with a NUL stands for one without a UTF-8 form.
Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex size,
                           CFStringEncoding encoding) {
    const std::string& bytes = objectOf(text).text;
    if (encoding != kCFStringEncodingUTF8 || bytes.starts_with('\0')) return 0;
    return put(bytes, buffer, size);
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* bytes, CFIndex size,
                                                 Boolean) {
    return FakeObjects::makeUrl(
        std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)));
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolve, UInt8* buffer,
                                         CFIndex size) {
    return resolve != 0 ? put(objectOf(url).text, reinterpret_cast<char*>(buffer), size)
                        : Boolean{0};
}

CFStringRef SCDynamicStoreCopyConsoleUser(SCDynamicStoreRef store, uid_t* user, gid_t* group) {
    if (console == nullptr) return nullptr;
    ++console->calls;
    console->asksForMore |= store != nullptr || user != nullptr || group != nullptr;
    return console->user ? FakeObjects::makeString(*console->user) : nullptr;
}
}
