#include <array>

#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"

namespace quillmoor {
namespace {

// Bits 1 to 3 of the Finder flags: seven labels, and 0 for none.
constexpr unsigned kLabelBits = 0x000E;

// By label. The lowest bit of a value is not part of the label, and is ignored.
struct Label {
    int value;
    FinderColor color;
};
constexpr std::array<Label, 7> kLabels{{{2, {0.0, 0.0, 0.72, 1.0}},
                                        {4, {0.2056, 0.5, 0.85, 1.0}},
                                        {6, {0.7917, 0.26, 0.86, 1.0}},
                                        {8, {0.5789, 0.56, 0.98, 1.0}},
                                        {10, {0.1388, 0.54, 0.95, 1.0}},
                                        {12, {0.0083, 0.54, 1.0, 1.0}},
                                        {14, {0.0888, 0.52, 0.98, 1.0}}}};

struct Item {
    platform::FileReference reference;
    platform::CatalogInfo info;
};

// The item with its Finder information; nil where either cannot be read.
std::optional<Item> itemAt(const OptionalPath& path) {
    platform::FinderInfo& finder = *platform::current().finderInfo;
    Item item;
    if (!path || !finder.makeReference(*path, item.reference)) {
        noteFailure(KXFailure::Reason::MissingItem);
        return std::nullopt;
    }
    if (!noteStatus(finder.catalogInfo(item.reference, item.info))) return std::nullopt;
    return item;
}

}  // namespace

int KXFileManager::finderColorIndexForPath(const OptionalPath& path) {
    return perform({"+[KXFileManager finderColorIndexForPath:]", path}, 0, [&] {
        const auto item = itemAt(path);
        return item ? item->info.finderFlags() : 0;
    });
}

void KXFileManager::setFinderColorIndex(unsigned index, const OptionalPath& forPath) {
    perform({"+[KXFileManager setFinderColorIndex:forPath:]", forPath}, [&] {
        auto item = itemAt(forPath);
        if (!item) return;
        // Written back with everything else that was read: the label shares its field with other
        // flags.
        const unsigned others = item->info.finderFlags() & ~kLabelBits;
        item->info.setFinderFlags(static_cast<std::uint16_t>(others | (index & kLabelBits)));
        noteStatus(platform::current().finderInfo->setFinderInfo(item->reference, item->info));
    });
}

std::optional<FinderColor> KXFileManager::finderColorForColorIndex(int index) try {
    for (const Label& label : kLabels)
        if (index == label.value || index == label.value + 1) return label.color;
    return std::nullopt;
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager finderColorForColorIndex:]",
                          std::optional<FinderColor>());
}

// All flags are passed on, so an item that has others than the label's has no colour. Kept for
// compatibility.
std::optional<FinderColor> KXFileManager::finderColorForPath(const OptionalPath& path) {
    return perform({"+[KXFileManager finderColorForPath:]", path}, std::optional<FinderColor>(),
                   [&]() -> std::optional<FinderColor> {
                       return finderColorForColorIndex(finderColorIndexForPath(path));
                   });
}

}  // namespace quillmoor
