#include "quillmoor/platform/property_list.h"

#include "quillmoor/base/format.h"

namespace quillmoor::platform {

std::optional<std::string> PropertyListValue::text() const {
    if (const auto* string = std::get_if<std::string>(&value)) return *string;
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "1" : "0";
    if (const auto* integer = std::get_if<std::int64_t>(&value))
        return formatted("%lli", static_cast<long long>(*integer));
    // Not printf, which follows the locale and would write 1.5 as 1,5.
    if (const auto* real = std::get_if<double>(&value)) return formatted("%g", *real);
    return std::nullopt;
}

}  // namespace quillmoor::platform
