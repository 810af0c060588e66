#include "tests/platform/macos/fakes/fake_workspace.h"

#import <AppKit/AppKit.h>

#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>

namespace quillmoor::test {
namespace {

FakeWorkspace* current = nullptr;

std::string bytes(NSString* text) {
    return text != nil ? [text UTF8String] : "(nil)";
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

bool lacks(SEL method) {
    return current != nullptr && current->missing.count(bytes(NSStringFromSelector(method))) != 0;
}

bool moveToTrash(const std::string& folder, const std::string& name) {
    const char* const home = ::getenv("HOME");
    if (current->usesHome && home != nullptr) {
        current->trash = std::string(home) + "/.Trash";
        ::mkdir(current->trash->c_str(), S_IRWXU);
    }
    if (!current->trash || !exists(folder + "/" + name)) return false;
    std::string path = *current->trash + "/" + name;
    for (int number = 2; exists(path); ++number)
        path = *current->trash + "/" + name + " " + std::to_string(number);
    return ::rename((folder + "/" + name).c_str(), path.c_str()) == 0;
}

}  // namespace

FakeWorkspace::FakeWorkspace() {
    current = this;
}
FakeWorkspace::~FakeWorkspace() {
    current = nullptr;
}

}  // namespace quillmoor::test

using quillmoor::test::bytes;
using quillmoor::test::current;
using quillmoor::test::lacks;

#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"

@implementation NSWorkspace (Fake)

+ (NSWorkspace*)sharedWorkspace {
    if (current != nullptr && current->raises) [NSException raise:@"Name" format:@"a reason"];
    static NSWorkspace* shared = nil;
    // Not by alloc and init, which need a desktop.
    if (shared == nil) shared = NSAllocateObject(self, 0, nullptr);
    return shared;
}

- (BOOL)respondsToSelector:(SEL)method {
    return !lacks(method) && [super respondsToSelector:method];
}

- (BOOL)performFileOperation:(NSString*)operation
                      source:(NSString*)source
                 destination:(NSString*)destination
                       files:(NSArray*)files
                         tag:(NSInteger*)tag {
    if (lacks(_cmd)) [self doesNotRecognizeSelector:_cmd];
    if (current == nullptr) return NO;
    quillmoor::test::FakeWorkspace::Operation made{
        bytes(operation), bytes(source), bytes(destination), {}, tag != nullptr};
    for (NSString* name in files) made.files.push_back(bytes(name));
    current->operations.push_back(made);
    bool all = true;
    for (const std::string& name : made.files)
        all = quillmoor::test::moveToTrash(made.source, name) && all;
    return all;
}

- (NSString*)absolutePathForAppBundleWithIdentifier:(NSString*)identifier {
    if (lacks(_cmd)) [self doesNotRecognizeSelector:_cmd];
    if (current == nullptr || current->applications.count(bytes(identifier)) == 0) return nil;
    return [NSString stringWithUTF8String:current->applications[bytes(identifier)].c_str()];
}

- (BOOL)openFile:(NSString*)path {
    if (lacks(_cmd)) [self doesNotRecognizeSelector:_cmd];
    if (current == nullptr) return NO;
    current->opened.push_back(bytes(path));
    return current->opens && quillmoor::test::exists(bytes(path));
}

- (void)noteFileSystemChanged:(NSString*)path {
    if (current != nullptr) current->noted.push_back(bytes(path));
}

- (BOOL)isFilePackageAtPath:(NSString*)path {
    return current != nullptr && std::find(current->packages.begin(), current->packages.end(),
                                           bytes(path)) != current->packages.end();
}

@end
