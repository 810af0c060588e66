#include "quillmoor/platform/linux/trash/trashinfo_linux.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

namespace quillmoor::platform::linux_ {
namespace {

// 2024-01-31 23:59:59 UTC
constexpr std::time_t kDate = 1706745599;

TEST(TrashInfo, HasThePathAndTheLocalTime) {
    ::setenv("TZ", "KXT-2", 1);
    ::tzset();
    EXPECT_EQ(trashInfo("/home/al/report.txt", kDate),
              "[Trash Info]\nPath=/home/al/report.txt\nDeletionDate=2024-02-01T01:59:59\n");
}

TEST(TrashInfo, EncodesAllButTheUnreservedCharacters) {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    std::setlocale(LC_ALL, "C.UTF-8");
    const std::string info =
        trashInfo("/a b/100%\n\t\"'#?&=+;:@$,!*()[]/caf\u00e9/\xff/-._~/Az09", kDate);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(info,
              "[Trash Info]\nPath=/a%20b/100%25%0A%09%22%27%23%3F%26%3D%2B%3B%3A%40%24%2C%21%2A%28"
              "%29%5B%5D/caf%C3%A9/%FF/-._~/Az09\nDeletionDate=2024-01-31T23:59:59\n");
}

}  // namespace
}  // namespace quillmoor::platform::linux_
