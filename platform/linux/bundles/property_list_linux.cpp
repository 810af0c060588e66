#include "quillmoor/platform/property_list.h"

#include <locale.h>
#include <plist/plist.h>
#include <stdlib.h>

#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/small_file_posix.h"
#include "quillmoor/platform/posix/ground/utf8_posix.h"
#include "quillmoor/platform/posix/text/property_list_bounds_posix.h"

namespace quillmoor::platform {
namespace {

constexpr std::size_t kLongestFile = std::size_t{1} << 20;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBinaryHeader = "bplist0";

// The epoch of property lists, 2001-01-01 00:00:00 UTC.
constexpr std::chrono::seconds kEpoch{978307200};

template <auto function>
struct Call {
    template <typename T>
    void operator()(T* pointer) const {
        function(pointer);
    }
};
using Node = std::unique_ptr<std::remove_pointer_t<plist_t>, Call<plist_free>>;
template <typename T>
using Allocated = std::unique_ptr<T, Call<::free>>;

// The parser reads real numbers by the thread's locale, which may have a decimal comma. During the
// lifetime of this object the thread has the C locale.
class PlainNumbers {
  public:
    PlainNumbers() : previous_(::uselocale(plain())) {}
    ~PlainNumbers() { ::uselocale(previous_); }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;

  private:
    static locale_t plain() {
        // Null without memory for it: uselocale(3) then changes nothing.
        static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }
    locale_t previous_;
};

Node parse(std::string_view bytes) {
    plist_t parsed = nullptr;
    // The size was limited when the file was read.
    const auto length = static_cast<std::uint32_t>(bytes.size());
    // The form is determined here and not by the library, which in newer versions reads more forms
    // than there are limits for.
    if (bytes.starts_with(kBinaryHeader)) {
        if (posix::isModestBinary(bytes)) plist_from_bin(bytes.data(), length, &parsed);
        return Node(parsed);
    }
    if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
    const std::size_t first = bytes.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos || bytes[first] != '<') return nullptr;
    const PlainNumbers plainNumbers;
    if (posix::isUTF8(bytes) && posix::isModestXML(bytes))
        plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &parsed);
    return Node(parsed);
}

PropertyListValue valueOf(plist_t node);

PropertyListArray arrayOf(plist_t node) {
    PropertyListArray array;
    plist_array_iter start = nullptr;
    plist_array_new_iter(node, &start);
    const Allocated<void> iterator(start);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator.get(), &item);
        if (item == nullptr) return array;
        array.push_back(valueOf(item));
    }
}

PropertyListDictionary dictionaryOf(plist_t node) {
    PropertyListDictionary dictionary;
    plist_dict_iter start = nullptr;
    plist_dict_new_iter(node, &start);
    const Allocated<void> iterator(start);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator.get(), &key, &item);
        const Allocated<char> owned(key);
        if (item == nullptr) return dictionary;
        dictionary.insert_or_assign(key != nullptr ? key : "", valueOf(item));
    }
}

// Integers above the signed range keep their 64 bits and become negative.
std::int64_t integerOf(plist_t node) {
    std::uint64_t number = 0;
    if (plist_get_node_type(node) == PLIST_UID) {
        plist_get_uid_val(node, &number);
    } else {
        plist_get_uint_val(node, &number);
    }
    return static_cast<std::int64_t>(number);
}

PropertyListDate dateOf(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    const auto sinceEpoch = std::chrono::seconds(seconds) + std::chrono::microseconds(microseconds);
    return {std::chrono::system_clock::time_point(kEpoch + sinceEpoch)};
}

// `read` is one of the two calls that return bytes and their number.
template <typename Read>
std::string bytesOf(plist_t node, Read read) {
    std::uint64_t length = 0;
    const char* bytes = read(node, &length);
    return bytes != nullptr ? std::string(bytes, static_cast<std::size_t>(length)) : std::string();
}

// Recursive; the depth was limited before the list was parsed.
PropertyListValue valueOf(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t flag = 0;
            plist_get_bool_val(node, &flag);
            return {flag != 0};
        }
        case PLIST_UINT:
        case PLIST_UID:
            return {integerOf(node)};
        case PLIST_REAL: {
            double number = 0;
            plist_get_real_val(node, &number);
            return {number};
        }
        case PLIST_DATE:
            return {dateOf(node)};
        case PLIST_DATA:
            return {PropertyListBytes{bytesOf(node, plist_get_data_ptr)}};
        case PLIST_ARRAY:
            return {arrayOf(node)};
        case PLIST_DICT:
            return {dictionaryOf(node)};
        default:
            return {bytesOf(node, plist_get_string_ptr)};
    }
}

class LinuxPropertyLists : public PropertyLists {
  public:
    std::optional<PropertyListDictionary> dictionaryWithContentsOfFile(
        const std::string& path) override {
        const std::optional<std::string> contents = posix::readSmallFile(path, kLongestFile);
        if (!contents) return std::nullopt;
        const Node root = parse(*contents);
        if (root == nullptr || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;
        return dictionaryOf(root.get());
    }
};

}  // namespace

PropertyLists* nativePropertyLists() {
    static auto* const propertyLists = new LinuxPropertyLists;
    return propertyLists;
}

}  // namespace quillmoor::platform
