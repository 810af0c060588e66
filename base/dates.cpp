#include "quillmoor/base/dates.h"

#include "quillmoor/base/format.h"

namespace quillmoor {

// Rounded down, not toward zero: before 1970 cutting would give the next second and a wrong day.
std::string dateDescription(std::chrono::system_clock::time_point date) {
    const auto second = std::chrono::floor<std::chrono::seconds>(date);
    const auto day = std::chrono::floor<std::chrono::days>(second);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss time(second - day);
    return formatted("%04d-%02u-%02u %02d:%02d:%02d +0000", static_cast<int>(calendar.year()),
                     static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                     static_cast<int>(time.hours().count()),
                     static_cast<int>(time.minutes().count()),
                     static_cast<int>(time.seconds().count()));
}

}  // namespace quillmoor
