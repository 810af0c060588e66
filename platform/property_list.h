// Reading property lists.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quillmoor::platform {

struct PropertyListValue;
using PropertyListArray = std::vector<PropertyListValue>;
using PropertyListDictionary = std::map<std::string, PropertyListValue>;

struct PropertyListBytes {
    std::string bytes;
};
struct PropertyListDate {
    std::chrono::system_clock::time_point date;
};

struct PropertyListValue {
    std::variant<std::string, bool, std::int64_t, double, PropertyListDate, PropertyListBytes,
                 PropertyListArray, PropertyListDictionary>
        value;

    // A string or a number as text, true and false as 1 and 0; nil for every other kind.
    std::optional<std::string> text() const;
};

// May be called from any thread.
class PropertyLists {
  public:
    virtual ~PropertyLists() = default;

    // `dictionaryWithContentsOfFile:`, XML or binary. nil for a missing file, one that is not
    // regular, is over 1 MiB, or holds no dictionary.
    virtual std::optional<PropertyListDictionary> dictionaryWithContentsOfFile(
        const std::string& path) = 0;
};

}  // namespace quillmoor::platform
