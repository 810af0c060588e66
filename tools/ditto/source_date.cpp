#include "tools/ditto/source_date.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

#include "tools/ditto/failure.h"
#include "tools/ditto/text.h"

namespace quillmoor::ditto {
namespace {

// 31 December 9999, 23:59:59 in UTC.
constexpr std::uint64_t kEndOfYear9999 = 253402300799;

}  // namespace

std::optional<std::int64_t> sourceDateEpoch() {
    const char* set = std::getenv("SOURCE_DATE_EPOCH");
    if (set == nullptr) return std::nullopt;
    const std::string_view text = set;
    std::uint64_t value = 0;
    // An empty value is an error too: it is a mistake of the build that sets it.
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value > kEndOfYear9999)
        throw Failure("SOURCE_DATE_EPOCH needs a number of seconds since 1970, not " +
                      quoted(text));
    return static_cast<std::int64_t>(value);
}

}  // namespace quillmoor::ditto
