// Repeats each test until nothing that it made is left, and fails if that does not happen. What a
// test leaves once is no leak: the runtime, the system's classes and the singletons keep what they
// made for their first use.
//
// The program is linked with AddressSanitizer, which reports blocks of memory to it and ends the
// program when one is freed twice or a message is sent to an object that was deallocated.
#undef NDEBUG  // with it GNUstep does not declare the counts of objects
#import <Foundation/Foundation.h>
#import <Foundation/NSDebug.h>
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sanitizer/allocator_interface.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <objc/runtime.h>

extern "C" const char* __asan_default_options() {
    // What is still allocated when the program exits is the runtime's as well.
    return "detect_leaks=0";
}

namespace quillmoor::test {
namespace {

std::atomic<long> blocks;

void addBlock(const volatile void*, std::size_t) {
    ++blocks;
}

void removeBlock(const volatile void* block) {
    if (block != nullptr) --blocks;
}

struct Use {
    long blocks = 0;
    long descriptors = 0;

    static Use now() {
        const std::filesystem::directory_iterator open("/proc/self/fd");
        return {test::blocks, std::distance(open, std::filesystem::directory_iterator())};
    }
    bool isWithin(const Use& other) const {
        return blocks <= other.blocks && descriptors <= other.descriptors;
    }
};

// The number of objects of each class.
using Objects = std::map<std::string, int>;

Objects objects() {
    Objects counts;
    Class* const classes = GSDebugAllocationClassList();
    for (Class* cls = classes; *cls != Nil; ++cls)
        counts[class_getName(*cls)] = GSDebugAllocationCount(*cls);
    NSZoneFree(NSDefaultMallocZone(), classes);
    return counts;
}

std::string growth(const Objects& before, const Objects& after) {
    std::string text;
    for (const auto& [name, count] : after) {
        const auto found = before.find(name);
        const int more = count - (found == before.end() ? 0 : found->second);
        if (more > 0) text += " " + name + " +" + std::to_string(more);
    }
    return text.empty() ? " none" : text;
}

// Set up before and torn down after each run.
class LeakCheck : public ::testing::Environment {
    static constexpr std::size_t kRuns = 30;
    // Runs in a row that leave nothing. More than one, since a thread may release late.
    static constexpr std::size_t kQuietRuns = 3;

    void SetUp() override {
        if (isQuiet_) GTEST_SKIP();
        // The singletons keep what the first run has set, so expectations may fail in later ones.
        if (run_ > 0) failures_.emplace(kAllThreads, &ignored_.emplace());
    }

    void TearDown() override {
        failures_.reset();
        ignored_.reset();
        if (isQuiet_) return;
        uses_[run_] = Use::now();
        isQuiet_ = run_ > kQuietRuns && uses_[run_].isWithin(uses_[run_ - kQuietRuns]);
        if (!isQuiet_ && run_ == kRuns - 2) objects_ = objects();
        if (!isQuiet_ && run_ == kRuns - 1) report();
        ++run_;
    }

    void report() {
        // The last run's use includes the counts of objects.
        const Use& before = uses_[kRuns - 3];
        const Use& after = uses_[kRuns - 2];
        ADD_FAILURE() << "each run leaves memory: " << after.blocks - before.blocks
                      << ", descriptors: " << after.descriptors - before.descriptors
                      << ", objects:" << growth(objects_, objects());
    }

    static constexpr auto kAllThreads =
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS;
    std::optional<::testing::TestPartResultArray> ignored_;
    std::optional<::testing::ScopedFakeTestPartResultReporter> failures_;
    std::array<Use, kRuns> uses_;
    Objects objects_;
    std::size_t run_ = 0;
    bool isQuiet_ = false;

  public:
    // Before the number of runs is read.
    class Start : public ::testing::EmptyTestEventListener {
        void OnTestProgramStart(const ::testing::UnitTest&) override {
            GTEST_FLAG_SET(repeat, int{kRuns});
            GTEST_FLAG_SET(recreate_environments_when_repeating, true);
            GSDebugAllocationActive(YES);
            __sanitizer_install_malloc_and_free_hooks(addBlock, removeBlock);
        }
    };
};

[[maybe_unused]] const bool kInstalled = [] {
    ::testing::AddGlobalTestEnvironment(new LeakCheck);
    ::testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck::Start);
    return true;
}();

}  // namespace

// leaks_are_noticed_test.sh has it leave something.
TEST(LeakCheck, FindsNothingInATestThatReleases) {
    const char* const value = std::getenv("KX_LEAVE");
    const std::string_view left = value == nullptr ? "" : value;
    NSObject* const object = [[NSObject alloc] init];
    if (left != "object") [object release];
    if (left == "message") [object description];
    auto* const instance = new std::string(100, 'x');
    if (left != "instance") delete instance;
    const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (left != "descriptor") ::close(descriptor);
    NSObject* const pooled = [[[NSObject alloc] init] autorelease];
    if (left == "release") [pooled release];
}

}  // namespace quillmoor::test
