#include "quillmoor/platform/property_list.h"

#import <Foundation/Foundation.h>

#include <string_view>

#include "quillmoor/platform/macos/ground/cocoa_calls_macos.h"
#include "quillmoor/platform/macos/ground/cocoa_text_macos.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/small_file_posix.h"
#include "quillmoor/platform/posix/ground/utf8_posix.h"
#include "quillmoor/platform/posix/text/property_list_bounds_posix.h"

namespace quillmoor::platform {
namespace macos {
namespace {

constexpr std::size_t kLongestFile = std::size_t{1} << 20;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBinaryHeader = "bplist0";

// Only the two forms: the system reads an older one as well. A hostile file must not cost more
// than its size, so both are checked before they are parsed.
bool isReadable(std::string_view bytes) {
    if (bytes.starts_with(kBinaryHeader)) return posix::isModestBinary(bytes);
    if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
    const std::size_t first = bytes.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && bytes[first] == '<' && posix::isUTF8(bytes) &&
           posix::isModestXML(bytes);
}

PropertyListValue valueOf(id object);

PropertyListArray arrayOf(NSArray* objects) {
    PropertyListArray array;
    for (id object in objects) array.push_back(valueOf(object));
    return array;
}

PropertyListDictionary dictionaryOf(NSDictionary* objects) {
    PropertyListDictionary dictionary;
    for (id key in objects)
        if ([key isKindOfClass:[NSString class]])
            dictionary.insert_or_assign(bytesOf(key).value_or(""),
                                        valueOf([objects objectForKey:key]));
    return dictionary;
}

PropertyListDate dateOf(NSDate* date) {
    using std::chrono::system_clock;
    const std::chrono::duration<double> sinceEpoch([date timeIntervalSince1970]);
    return {
        system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(sinceEpoch))};
}

// true and false are objects of their own, of a class that other numbers do not have.
PropertyListValue numberOf(NSNumber* number) {
    if ([number isKindOfClass:[@(true) class]]) return {static_cast<bool>([number boolValue])};
    const char type = [number objCType][0];
    if (type == 'd' || type == 'f') return {[number doubleValue]};
    return {static_cast<std::int64_t>([number longLongValue])};
}

// Recursive; the depth was limited before the list was parsed.
PropertyListValue valueOf(id object) {
    if ([object isKindOfClass:[NSString class]]) return {bytesOf(object).value_or("")};
    if ([object isKindOfClass:[NSNumber class]]) return numberOf(object);
    if ([object isKindOfClass:[NSDictionary class]]) return {dictionaryOf(object)};
    if ([object isKindOfClass:[NSArray class]]) return {arrayOf(object)};
    if ([object isKindOfClass:[NSDate class]]) return {dateOf(object)};
    if ([object isKindOfClass:[NSData class]])
        return {PropertyListBytes{
            std::string(static_cast<const char*>([object bytes]), [object length])}};
    return {std::string()};
}

class MacPropertyLists : public PropertyLists {
  public:
    std::optional<PropertyListDictionary> dictionaryWithContentsOfFile(
        const std::string& path) override {
        const std::optional<std::string> contents = posix::readSmallFile(path, kLongestFile);
        if (!contents || !isReadable(*contents)) return std::nullopt;
        return fromCocoa([&]() -> std::optional<PropertyListDictionary> {
            NSData* const data = [NSData dataWithBytes:contents->data() length:contents->size()];
            const id root =
                [NSPropertyListSerialization propertyListWithData:data
                                                          options:NSPropertyListImmutable
                                                           format:nullptr
                                                            error:nullptr];
            if (![root isKindOfClass:[NSDictionary class]]) return std::nullopt;
            return dictionaryOf(root);
        });
    }
};

}  // namespace
}  // namespace macos

PropertyLists* nativePropertyLists() {
    static auto* const propertyLists = new macos::MacPropertyLists;
    return propertyLists;
}

}  // namespace quillmoor::platform
