#include "quillmoor/platform/posix/text/property_list_bounds_posix.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace quillmoor::platform::posix {
namespace {

// For every &…; the parser moves the rest of the text, so its time grows with the square.
constexpr std::ptrdiff_t kMostReferences = 20000;

// Removes the beginning of `text` up to and including the next `end`; false when there is none.
bool skipTo(std::string_view& text, std::string_view end) {
    const std::size_t found = text.find(end);
    if (found == std::string_view::npos) return false;
    text.remove_prefix(found + end.size());
    return true;
}

// Removes one tag, declaration or instruction from the front of `text` and returns it without its
// brackets. nil where a parser that honours quotes and one that does not would find different ends:
// this check and the parser must see the same tags.
std::optional<std::string_view> takeTag(std::string_view& text) {
    const std::size_t end = text.find('>', 1);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view tag = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
    const bool plain = tag.find_first_of(" \t\r\n") != 0 && !tag.empty() &&
                       tag.find('<') == std::string_view::npos &&
                       std::count(tag.begin(), tag.end(), '"') % 2 == 0;
    if (!plain || (tag.front() == '?' && (tag.size() < 2 || tag.back() != '?')) ||
        (tag.front() == '!' && tag.find('[') != std::string_view::npos))
        return std::nullopt;
    return tag;
}

}  // namespace

bool isModestXML(std::string_view text) {
    if (text.find('\0') != std::string_view::npos ||
        std::count(text.begin(), text.end(), '&') > kMostReferences)
        return false;
    std::vector<std::string_view> open;
    for (;;) {
        text.remove_prefix(std::min(text.find('<'), text.size()));
        if (text.empty()) return true;
        if (text.starts_with("<!--")) {
            text.remove_prefix(4);
            if (!skipTo(text, "-->")) return false;
            continue;
        }
        if (text.starts_with("<![CDATA[")) {
            if (!skipTo(text, "]]>")) return false;
            continue;
        }
        const std::optional<std::string_view> tag = takeTag(text);
        if (!tag) return false;
        if (tag->front() == '?' || tag->front() == '!' || tag->back() == '/') continue;
        const std::string_view name = tag->substr(0, tag->find_first_of(" \t\r\n"));
        if (name.front() != '/') {
            open.push_back(name);
            if (open.size() > kDeepestPropertyList) return false;
        } else if (!open.empty() && open.back() == name.substr(1)) {
            open.pop_back();
        } else {
            return false;
        }
    }
}

namespace {

constexpr std::size_t kHeader = 8;
constexpr std::size_t kTrailer = 32;

// The cost of parsing in bytes: a constant for each object, and its contents.
constexpr std::uint64_t kCostOfObject = 32;
constexpr std::uint64_t kHighestCost = std::uint64_t{16} << 20;

// Measures the binary form, each object once.
class BinaryMeasure {
  public:
    explicit BinaryMeasure(std::string_view bytes) : bytes_(bytes) {}

    bool isModest() {
        if (bytes_.size() < kHeader + kTrailer) return false;
        // The trailer: five unused bytes and a version, the sizes of an offset and of a reference,
        // then with eight bytes each the number of objects, the index of the top object, and the
        // offset of the table of offsets.
        const std::size_t trailer = bytes_.size() - kTrailer;
        offsetSize_ = byteAt(trailer + 6);
        referenceSize_ = byteAt(trailer + 7);
        const std::uint64_t objects = numberAt(trailer + 8, 8);
        table_ = numberAt(trailer + 24, 8);
        if (!isNumberSize(offsetSize_) || !isNumberSize(referenceSize_) || table_ > trailer ||
            objects > (trailer - table_) / offsetSize_)
            return false;
        extents_.resize(static_cast<std::size_t>(objects));
        return extentOf(numberAt(trailer + 16, 8), 0).has_value();
    }

  private:
    struct Extent {
        int height = 0;  // 0: not measured yet
        std::uint64_t cost = 0;
    };
    struct Object {
        unsigned kind = 0;
        std::uint64_t count = 0;
        std::size_t contents = 0;
    };

    static bool isNumberSize(std::size_t size) { return size >= 1 && size <= 8; }

    unsigned byteAt(std::size_t offset) const { return static_cast<unsigned char>(bytes_[offset]); }
    std::uint64_t numberAt(std::size_t offset, std::size_t size) const {
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < size; ++i) number = (number << 8) | byteAt(offset + i);
        return number;
    }

    // The marker at `offset`, and the count that follows it where it is a long one.
    std::optional<Object> objectAt(std::uint64_t offset) const {
        if (offset < kHeader || offset >= table_) return std::nullopt;
        const auto at = static_cast<std::size_t>(offset);
        Object object{byteAt(at) >> 4, byteAt(at) & 0x0F, at + 1};
        // The low bits of a UID, kind 8, are its size and never announce a long count.
        const bool counted = object.kind >= 0x4 && object.kind != 0x8;
        if (!counted || object.count != 0x0F) return object;
        // The marker may be the last byte before the offset table, which leaves no room for a
        // count.
        const std::size_t size = std::size_t{1} << (byteAt(object.contents) & 0x0F);
        if (size > 8 || object.contents + 1 + size > table_) return std::nullopt;
        object.count = numberAt(object.contents + 1, size);
        object.contents += 1 + size;
        return object;
    }

    // Arrays and sets have one reference for each element, dictionaries have two.
    static std::uint64_t referencesPerElement(unsigned kind) {
        if (kind == 0xD) return 2;
        return kind == 0xA || kind == 0xB || kind == 0xC ? 1 : 0;
    }

    // The object that the table gives for `index`, which is in its range.
    std::optional<Object> objectWith(std::uint64_t index) const {
        const auto entry = static_cast<std::size_t>(table_ + index * offsetSize_);
        const std::optional<Object> object = objectAt(numberAt(entry, offsetSize_));
        return object && object->count <= table_ ? object : std::nullopt;
    }

    // True for a string without a NUL: at any other key the parser aborts the process.
    bool isKey(std::uint64_t index) const {
        if (index >= extents_.size()) return false;
        const std::optional<Object> object = objectWith(index);
        if (!object || object->kind < 0x5 || object->kind > 0x7) return false;
        const std::size_t unit = object->kind == 0x6 ? 2 : 1;
        if (object->count > (table_ - object->contents) / unit) return false;
        for (std::uint64_t i = 0; i < object->count; ++i) {
            const auto at = object->contents + static_cast<std::size_t>(i) * unit;
            if (numberAt(at, unit) == 0) return false;
        }
        return true;
    }

    // An object that contains itself would have no end; the limit on the depth detects it.
    std::optional<Extent> extentOf(std::uint64_t index, int depth) {
        if (index >= extents_.size()) return std::nullopt;
        Extent& known = extents_[static_cast<std::size_t>(index)];
        // Measured once: otherwise the check itself could be made to take as long as the parser.
        if (known.height == 0) {
            const std::optional<Extent> measured = measure(index, depth);
            if (!measured) return std::nullopt;
            known = *measured;
        }
        return depth + known.height <= kDeepestPropertyList ? std::optional(known) : std::nullopt;
    }

    // Recursive with extentOf, but never deeper than kDeepestPropertyList.
    std::optional<Extent> measure(std::uint64_t index, int depth) {
        if (depth >= kDeepestPropertyList) return std::nullopt;
        const std::optional<Object> object = objectWith(index);
        if (!object) return std::nullopt;
        const std::uint64_t references = object->count * referencesPerElement(object->kind);
        Extent extent{1, kCostOfObject + (references == 0 ? object->count * 2 : 0)};
        if (references > (table_ - object->contents) / referenceSize_) return std::nullopt;
        for (std::uint64_t i = 0; i < references; ++i) {
            const std::size_t at = object->contents + static_cast<std::size_t>(i) * referenceSize_;
            const std::uint64_t part = numberAt(at, referenceSize_);
            if (object->kind == 0xD && i < object->count && !isKey(part)) return std::nullopt;
            const std::optional<Extent> inner = extentOf(part, depth + 1);
            if (!inner) return std::nullopt;
            extent.height = std::max(extent.height, inner->height + 1);
            // Added at every reference, since the parser makes the object anew for each.
            extent.cost += inner->cost;
            if (extent.cost > kHighestCost) return std::nullopt;
        }
        return extent;
    }

    std::string_view bytes_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t table_ = 0;
    std::vector<Extent> extents_;
};

}  // namespace

bool isModestBinary(std::string_view bytes) {
    return BinaryMeasure(bytes).isModest();
}

}  // namespace quillmoor::platform::posix
