#include "objc/bridge.h"

#include "objc/firewall.h"
#include "quillmoor/base/utf8.h"
#include "quillmoor/log/KXException.h"

// Bytes of the library, which are not copied.
@interface KXLibraryData : NSData {
  @public
    quillmoor::Data _data;
}
@end

@implementation KXLibraryData

- (NSUInteger)length {
    return _data.size();
}

- (const void*)bytes {
    return _data.bytes();
}

- (id)copyWithZone:(NSZone*)zone {
    return [self retain];
}

@end

namespace quillmoor::objc {
namespace {

void appendUtf8(std::string& out, char32_t codePoint) {
    const auto add = [&](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    const auto addTail = [&](int shift) { add(0x80 | ((codePoint >> shift) & 0x3F)); };
    if (codePoint < 0x80) return add(codePoint);
    if (codePoint < 0x800) {
        add(0xC0 | codePoint >> 6);
        return addTail(0);
    }
    if (codePoint < 0x10000) {
        add(0xE0 | codePoint >> 12);
    } else {
        add(0xF0 | codePoint >> 18);
        addTail(12);
    }
    addTail(6);
    addTail(0);
}

void appendUtf16(std::vector<unichar>& out, char32_t codePoint) {
    if (codePoint < 0x10000) return out.push_back(static_cast<unichar>(codePoint));
    codePoint -= 0x10000;
    out.push_back(static_cast<unichar>(0xD800 + (codePoint >> 10)));
    out.push_back(static_cast<unichar>(0xDC00 + (codePoint & 0x3FF)));
}

bool isPair(const std::vector<unichar>& units, std::size_t i) {
    return i + 1 < units.size() && (units[i] & 0xFC00) == 0xD800 &&
           (units[i + 1] & 0xFC00) == 0xDC00;
}

std::string element(id object) {
    if (![object isKindOfClass:[NSString class]])
        throw platform::Exception(platform::kInvalidArgumentException,
                                  "an element of the list is not a string");
    return *toString(object);
}

// What left a call: one of the two, or neither.
struct Escaped {
    NSException* raised = nil;  // autoreleased
    std::optional<platform::Exception> thrown;
};

// The order is the point: a clause for NSException lets C++ exceptions pass on every system, but a
// C++ clause catches an NSException on some.
Escaped escapedFrom(const std::function<void()>& body) {
    NSException* raised = nil;
    auto thrown = thrownBy([&] {
        @try {
            body();
        } @catch (NSException* exception) {
            raised = [[exception retain] autorelease];
        }
    });
    return {raised, std::move(thrown)};
}

}  // namespace

// Not by the system's encoder, which refuses half a pair or replaces it.
OptionalString toString(NSString* text) {
    if (text == nil) return std::nullopt;
    std::vector<unichar> units([text length]);
    [text getCharacters:units.data() range:NSMakeRange(0, units.size())];
    std::string out;
    out.reserve(units.size());
    appendText(out, units);
    return out;
}

void appendText(std::string& out, const std::vector<unichar>& units) {
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t codePoint = units[i];
        if (isPair(units, i))
            codePoint = 0x10000 + ((codePoint & 0x3FF) << 10) + (units[++i] & 0x3FF);
        appendUtf8(out, codePoint);
    }
}

// Not by the system's decoder: which bytes are valid must not differ between systems.
NSString* fromString(std::string_view text) {
    std::vector<unichar> units;
    units.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const Utf8Character character = utf8CharacterAt(text, i);
        if (!character.valid) return nil;
        appendUtf16(units, character.codePoint);
        i += character.bytes;
    }
    return [NSString stringWithCharacters:units.data() length:units.size()];
}

NSString* fromString(const OptionalString& text) {
    return text ? fromString(std::string_view(*text)) : nil;
}

NSMutableArray* fromList(const StringList& list) {
    NSMutableArray* array = [NSMutableArray arrayWithCapacity:list.size()];
    for (const std::string& text : list) {
        NSString* string = fromString(std::string_view(text));
        if (string != nil) [array addObject:string];
    }
    return array;
}

OptionalArguments toArguments(NSArray* list) {
    if (list == nil) return std::nullopt;
    StringList arguments;
    for (id object in list) arguments.push_back(element(object));
    return arguments;
}

OptionalEnvironment toEnvironment(NSDictionary* environment) {
    if (environment == nil) return std::nullopt;
    Environment variables;
    for (id name in environment)
        variables[element(name)] = element([environment objectForKey:name]);
    return variables;
}

NSData* fromData(const std::optional<Data>& data) {
    if (!data) return nil;
    auto* shared = static_cast<KXLibraryData*>(NSAllocateObject([KXLibraryData class], 0, nullptr));
    shared->_data = *data;
    return [shared autorelease];
}

Data toData(NSData* data) {
    NSData* immutable = [[data copy] autorelease];
    return Data(toObject(immutable), static_cast<const char*>([immutable bytes]),
                [immutable length]);
}

std::shared_ptr<void> toObject(id object) {
    if (object == nil) return nullptr;
    return std::shared_ptr<void>([object retain],
                                 [](void* retained) { [static_cast<id>(retained) release]; });
}

id fromObject(const std::shared_ptr<void>& object) {
    return [[static_cast<id>(object.get()) retain] autorelease];
}

platform::Exception toException(NSException* exception) {
    return {toString([exception name]).value_or("(null)"),
            toString([exception reason]).value_or("(null)")};
}

NSException* fromException(const platform::Exception& exception) {
    return [NSException exceptionWithName:fromString(std::string_view(exception.name()))
                                   reason:fromString(std::string_view(exception.reason()))
                                 userInfo:nil];
}

std::optional<platform::Exception> exceptionFrom(const std::function<void()>& body) {
    const Escaped escaped = escapedFrom(body);
    if (escaped.raised != nil) return toException(escaped.raised);
    return escaped.thrown;
}

NSException* exceptionToRaise(const std::function<void()>& body) {
    const Escaped escaped = escapedFrom(body);
    return escaped.thrown ? fromException(*escaped.thrown) : escaped.raised;
}

void throwWhatIsRaisedBy(const std::function<void()>& body) {
    std::optional<platform::Exception> thrown;
    @autoreleasepool {
        thrown = exceptionFrom(body);
    }
    if (thrown) throw *thrown;
}

void logException(const platform::Exception& exception, const char* method) {
    quillmoor::KXException::logException(&exception, method);
}

}  // namespace quillmoor::objc
