#include "tests/platform/macos/fakes/fake_core_foundation.h"

#include <SystemConfiguration/SystemConfiguration.h>

#include <algorithm>
#include <cstring>
#include <list>
#include <vector>

namespace quillmoor::test {
namespace {

enum class Kind : CFTypeID { Other = 1, String, Number, Dictionary };

struct Object {
    std::string text;
    Kind kind = Kind::Other;
    double number = 0;
    std::vector<const void*> keys{}, values{};
    std::function<void()> whenReleased{};
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

CFTypeRef make(const Object& object) {
    objects().push_back(object);
    return &objects().back();
}

// UTF-8 as far as the tests need it: no byte that never occurs in it.
bool isText(const std::string& bytes) {
    return bytes.find_first_of("\xc0\xc1\xf5\xff") == std::string::npos;
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
    return static_cast<CFStringRef>(make({text, Kind::String}));
}
CFURLRef FakeObjects::makeUrl(const std::string& path) {
    return static_cast<CFURLRef>(make({path}));
}
CFNumberRef FakeObjects::makeNumber(double value) {
    return static_cast<CFNumberRef>(make({"a number", Kind::Number, value}));
}
CFDictionaryRef FakeObjects::makeDictionary(const std::map<std::string, CFTypeRef>& entries) {
    Object dictionary{"a dictionary", Kind::Dictionary};
    for (const auto& [key, value] : entries) {
        dictionary.keys.push_back(makeString(key));
        dictionary.values.push_back(value);
    }
    dictionary.whenReleased = [keys = dictionary.keys, values = dictionary.values] {
        for (const void* key : keys) CFRelease(key);
        for (const void* value : values) CFRelease(value);
    };
    return static_cast<CFDictionaryRef>(make(dictionary));
}
CFTypeRef FakeObjects::makeOther(const std::string& text, std::function<void()> whenReleased) {
    Object object{text};
    object.whenReleased = std::move(whenReleased);
    return make(object);
}
int FakeObjects::ownersOf(CFTypeRef object) {
    return objectOf(object).owners;
}
std::string FakeObjects::textOf(CFTypeRef object) {
    return object != nullptr ? objectOf(object).text : "(null)";
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

namespace {
const Object defaultMode{"default mode", Kind::String};
const Object mainLoop{"main run loop"};
const Object currentLoop{"current run loop"};
}  // namespace

const CFStringRef kCFRunLoopDefaultMode =
    static_cast<CFStringRef>(static_cast<CFTypeRef>(&defaultMode));

CFRunLoopRef CFRunLoopGetMain(void) {
    return reinterpret_cast<CFRunLoopRef>(const_cast<Object*>(&mainLoop));
}

CFRunLoopRef CFRunLoopGetCurrent(void) {
    return reinterpret_cast<CFRunLoopRef>(const_cast<Object*>(&currentLoop));
}

CFTypeRef CFRetain(CFTypeRef object) {
    if (objectOf(object).owners++ < 1) ++wrong;
    return object;
}

void CFRelease(CFTypeRef object) {
    const int owners = --objectOf(object).owners;
    if (owners < 0) ++wrong;
    if (owners == 0 && objectOf(object).whenReleased) objectOf(object).whenReleased();
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    return static_cast<CFTypeID>(objectOf(object).kind);
}
CFTypeID CFNumberGetTypeID(void) {
    return static_cast<CFTypeID>(Kind::Number);
}
CFTypeID CFStringGetTypeID(void) {
    return static_cast<CFTypeID>(Kind::String);
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    if (type != kCFNumberDoubleType) return 0;
    *static_cast<double*>(value) = objectOf(number).number;
    return 1;
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    return static_cast<CFIndex>(objectOf(dictionary).keys.size());
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values) {
    const Object& object = objectOf(dictionary);
    std::copy(object.keys.begin(), object.keys.end(), keys);
    std::copy(object.values.begin(), object.values.end(), values);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex size,
                                    CFStringEncoding encoding, Boolean isExternal) {
    const std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    if (encoding != kCFStringEncodingUTF8 || isExternal != 0 || !isText(text)) return nullptr;
    return FakeObjects::makeString(text);
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
