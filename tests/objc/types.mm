#include "tests/objc/types.h"

#import <Foundation/Foundation.h>

#include <map>

#import "objc/KXPlatformTypes.h"

namespace quillmoor::test {

std::string encodingOf(const std::string& name) {
    static const std::map<std::string, const char*> kEncodings = {
        {"void", @encode(void)},
        {"BOOL", @encode(BOOL)},
        {"int", @encode(int)},
        {"unsigned", @encode(unsigned int)},
        {"NSInteger", @encode(NSInteger)},
        {"NSUInteger", @encode(NSUInteger)},
        {"double", @encode(double)},
        {"NSStringEncoding", @encode(NSStringEncoding)},
        {"uint64", @encode(unsigned long long)},
        {"FSRef", @encode(FSRef)},
        {"FSRef*", @encode(const FSRef*)},
        {"FSFileOperationRef", @encode(FSFileOperationRef)},
        {"OSStatus", @encode(OSStatus)},
        {"AuthorizationRef", @encode(AuthorizationRef)},
        {"cstring", @encode(const char*)},
        {"SEL", @encode(SEL)},
        {"zone", @encode(NSZone*)},
        {"NSSearchPathDirectory", @encode(NSSearchPathDirectory)},
        {"NSSearchPathDomainMask", @encode(NSSearchPathDomainMask)},
        {"id", @encode(id)},
        {"id*", @encode(id*)}};
    // Every class of objects is encoded alike.
    const bool isObject =
        (name.starts_with("NS") || name.starts_with("KX")) && !kEncodings.contains(name);
    const auto found = kEncodings.find(isObject ? "id" : name);
    return found == kEncodings.end() ? "?" + name : plainType(found->second);
}

std::string plainType(const char* encoding) {
    const std::string text = encoding;
    return text.substr(text.find_first_not_of("rnNoORV"));
}

}  // namespace quillmoor::test
