#include "tests/platform/macos/fakes/fake_search_paths.h"

#import <Foundation/Foundation.h>

#include <dlfcn.h>
#include <string.h>
#include <unistd.h>

namespace quillmoor::test {
namespace {

FakeSearchPaths* current = nullptr;

template <typename Function>
Function real(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

NSString* cocoa(const std::string& text) {
    return [NSString stringWithUTF8String:text.c_str()];
}

}  // namespace

FakeSearchPaths::FakeSearchPaths() {
    current = this;
}
FakeSearchPaths::~FakeSearchPaths() {
    current = nullptr;
}

}  // namespace quillmoor::test

using namespace quillmoor::test;

#pragma GCC visibility push(default)
extern "C" {

NSArray* NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory,
                                             NSSearchPathDomainMask domain, BOOL expandsTilde) {
    if (current == nullptr)
        return real<NSArray* (*)(NSSearchPathDirectory, NSSearchPathDomainMask, BOOL)>(
            "NSSearchPathForDirectoriesInDomains")(directory, domain, expandsTilde);
    current->searches.push_back({static_cast<unsigned long>(directory),
                                 static_cast<unsigned long>(domain), expandsTilde != NO});
    NSMutableArray* const found = [NSMutableArray array];
    for (const std::string& path : current->found) [found addObject:cocoa(path)];
    return found;
}

NSString* NSHomeDirectoryForUser(NSString* user) {
    if (current == nullptr) return real<NSString* (*)(NSString*)>("NSHomeDirectoryForUser")(user);
    if (user == nil) return current->homeOfNoName.empty() ? nil : cocoa(current->homeOfNoName);
    const auto home = current->homes.find([user UTF8String]);
    return home != current->homes.end() ? cocoa(home->second) : nil;
}

NSString* NSTemporaryDirectory(void) {
    if (current == nullptr || current->temporary.empty())
        return real<NSString* (*)(void)>("NSTemporaryDirectory")();
    return cocoa(current->temporary);
}

// By its name in the object file: the C library's header defines one that checks sizes.
size_t fakeConfstr(int name, char* buffer, size_t size) __asm__("confstr");
size_t fakeConfstr(int name, char* buffer, size_t size) {
    if (current == nullptr || name != 65538)
        return real<size_t (*)(int, char*, size_t)>("confstr")(name, buffer, size);
    const std::string& value = current->cacheFolder;
    if (value.empty()) return 0;
    if (size > 0) {
        const size_t copied = value.size() < size ? value.size() : size - 1;
        memcpy(buffer, value.data(), copied);
        buffer[copied] = '\0';
    }
    return value.size() + 1;
}
}
#pragma GCC visibility pop
