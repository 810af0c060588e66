#include "quillmoor/platform/process_info.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <set>

#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace {

TEST(MacProcessInfo, IsOfTheRealUserAndThisComputer) {
    ProcessInfo& info = *nativeProcessInfo();
    EXPECT_EQ(info.realUserId(), ::getuid());
    EXPECT_EQ(info.processorCount(), ::sysconf(_SC_NPROCESSORS_CONF));
    EXPECT_EQ(info.physicalMemory() >> 20, static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                                                   static_cast<std::uint64_t>(::getpagesize()) >>
                                               20);
    EXPECT_NE(info.operatingSystemVersionString(), "");
}

TEST(MacProcessInfo, AUniqueStringIsNeverGivenTwice) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(seen.insert(nativeProcessInfo()->globallyUniqueString()).second);
    EXPECT_EQ(seen.count(""), 0U);
}

}  // namespace
}  // namespace quillmoor::platform
