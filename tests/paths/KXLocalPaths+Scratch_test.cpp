#include <gtest/gtest.h>

#include <cstdlib>
#include <mutex>
#include <set>

#include "quillmoor/base/paths.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "tests/paths/paths_support.h"
#include "tests/support/temp_folder.h"

namespace quillmoor {
namespace {

constexpr char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz0123456789";

class StoppedClock : public test::ForwardingClock {
  public:
    std::int64_t ticks = 70'000;
    std::time_t seconds = 1'700'000'000;
    std::int64_t processorTime() override { return ticks; }
    std::chrono::system_clock::time_point now() override {
        return std::chrono::system_clock::from_time_t(seconds);
    }
};

TEST(RandomString, OfLengthZeroIsEmpty) {
    EXPECT_EQ(KXLocalPaths::randomString(0), "");
}

TEST(RandomString, HasTheLengthAndOnlyLettersAndDigits) {
    const std::string text = KXLocalPaths::randomString(8);
    EXPECT_EQ(text.size(), 8U);
    EXPECT_EQ(text.find_first_not_of(kAlphabet), std::string::npos);
}

TEST(RandomString, IsSeededWithTheWrappedProductOfBothClocks) {
    StoppedClock clock;
    test::ScopedPlatform platform;
    platform->clock = &clock;
    const std::string text = KXLocalPaths::randomString(8);
    std::srand(70'000U * 1'700'000'000U);
    std::string expected;
    for (int i = 0; i < 8; ++i) expected += kAlphabet[std::rand() % 36];
    EXPECT_EQ(text, expected);
    EXPECT_EQ(KXLocalPaths::randomString(8), expected);
}

TEST(RandomString, SeedsEvenForLengthZero) {
    StoppedClock clock;
    test::ScopedPlatform platform;
    platform->clock = &clock;
    std::srand(70'000U * 1'700'000'000U);
    const int first = std::rand();
    std::srand(1);
    KXLocalPaths::randomString(0);
    EXPECT_EQ(std::rand(), first);
}

// The generator's next value shows how many were drawn: one for each character.
TEST(RandomString, DrawsOnceForEachCharacter) {
    StoppedClock clock;
    test::ScopedPlatform platform;
    platform->clock = &clock;
    constexpr unsigned kLength = 1000;
    std::srand(70'000U * 1'700'000'000U);
    for (unsigned i = 0; i < kLength; ++i) static_cast<void>(std::rand());
    const int next = std::rand();
    EXPECT_EQ(KXLocalPaths::randomString(kLength).size(), kLength);
    EXPECT_EQ(std::rand(), next);
}

TEST(Uuid, IsNewOnEveryCallOnEveryThread) {
    std::set<std::string> all;
    std::mutex mutex;
    test::onEightThreads([&] {
        StringList own;
        for (int i = 0; i < 1250; ++i) own.push_back(KXLocalPaths::uuid());
        const std::lock_guard lock(mutex);
        all.insert(own.begin(), own.end());
    });
    EXPECT_EQ(all.size(), 10'000U);
}

TEST(TempFile, IsAUniqueStringAndEightCharactersInTheTemporaryFolder) {
    const std::string path = KXLocalPaths::tempFile();
    EXPECT_EQ(deleteLastPathComponent(path), KXLocalPaths::tempDirectory());
    const std::string name = lastPathComponent(path);
    EXPECT_EQ(name.size(), KXLocalPaths::uuid().size() + 8);
    EXPECT_EQ(name.substr(name.size() - 8).find_first_not_of(kAlphabet), std::string::npos);
    EXPECT_FALSE(test::somethingAt(path));
}

TEST(TempFile, DiffersEvenWithinOneTick) {
    StoppedClock clock;
    test::ScopedPlatform platform;
    platform->clock = &clock;
    const std::string one = KXLocalPaths::tempFile();
    const std::string two = KXLocalPaths::tempFile();
    EXPECT_NE(one, two);
    EXPECT_EQ(one.substr(one.size() - 8), two.substr(two.size() - 8));
}

TEST(TempFile, QueriesFolderThenUniqueStringThenCharacters) {
    static StringList asked;
    class Recorder : public test::ForwardingLocations,
                     public test::ForwardingProcessInfo,
                     public test::ForwardingClock {
        std::string temporaryDirectory() override {
            asked.emplace_back("folder");
            return "/tmp";
        }
        std::string globallyUniqueString() override {
            asked.emplace_back("unique");
            return "U";
        }
        std::int64_t processorTime() override {
            asked.emplace_back("seed");
            return 1;
        }
    };
    Recorder recorder;
    test::ScopedPlatform platform;
    platform->locations = &recorder;
    platform->processInfo = &recorder;
    platform->clock = &recorder;
    const std::string path = KXLocalPaths::tempFile();
    EXPECT_EQ(path.substr(0, 6), "/tmp/U");
    EXPECT_EQ(path.size(), 14U);
    EXPECT_EQ(asked, (StringList{"folder", "unique", "seed"}));
}

TEST(TempFile, MayBeMadeOnAnyThread) {
    std::set<std::string> all;
    std::mutex mutex;
    test::onEightThreads([&] {
        for (int i = 0; i < 50; ++i) {
            std::string path = KXLocalPaths::tempFile();
            const std::lock_guard lock(mutex);
            all.insert(std::move(path));
        }
    });
    EXPECT_EQ(all.size(), 400U);
}

}  // namespace
}  // namespace quillmoor
