#include "tests/faults/fault_loop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <sys/pidfd.h>
}

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <iostream>
#include <new>
#include <thread>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/children/child_tools.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

using platform::posix::Descriptor;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// More points than this of one kind are sampled at even distances.
constexpr int kMostCalls = kSanitized ? 8 : 100;
constexpr int kMostAllocations = kSanitized ? 8 : 60;
constexpr int kWatchdogMilliseconds = kSanitized ? 90'000 : 30'000;
constexpr int kMostFailures = 3;

// What a process has that an operation may leave behind.
struct Belongings {
    int descriptors = 0;
    int threads = 0;
    bool hasChildren = false;

    static Belongings now() {
        siginfo_t child{};
        const bool has = ::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) == 0;
        return {openDescriptorCount(), threadCount(), has};
    }
    bool within(const Belongings& most) const {
        return descriptors <= most.descriptors && threads <= most.threads && !hasChildren;
    }
};

// What a run's process reports.
struct Report {
    bool isComplete = false;
    bool happened = false;
    CallCounts counts{};
    Belongings left;  // more than before
    char call[32]{};
};

// Threads and children that are about to end get the time for it.
Belongings settled(const Belongings& most, milliseconds longest) {
    const auto end = steady_clock::now() + longest;
    Belongings left = Belongings::now();
    while (!left.within(most) && steady_clock::now() < end) {
        std::this_thread::sleep_for(milliseconds(1));
        left = Belongings::now();
    }
    return left;
}

// A process that is forked has its parent's results so far.
int resultsSoFar() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

class Runner {
  public:
    explicit Runner(const FaultScenario& scenario) : scenario_(scenario) {}

    Report run(const std::optional<Fault>& fault) {
        SCOPED_TRACE(scenario_.name + ", " + (fault ? describe(*fault) : "no fault"));
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) throw std::bad_alloc();
        const Descriptor reading(ends[0]);
        Descriptor writing(ends[1]);
        std::fflush(nullptr);
        const pid_t child = ::fork();
        if (child == 0) runInChild(fault, writing.get());
        writing.reset();
        const bool ended = waitFor(child);
        int status = 0;
        ::waitpid(child, &status, 0);
        Report report;
        if (::read(reading.get(), &report, sizeof report) != sizeof report) report = {};
        if (!ended)
            ADD_FAILURE() << "hangs";
        else if (!WIFEXITED(status) || !report.isComplete)
            ADD_FAILURE() << "ends the process: status " << status;
        else if (WEXITSTATUS(status) != 0)
            ADD_FAILURE() << "see above; the call was " << report.call;
        return report;
    }

    // From a run without a fault.
    void allow(const Belongings& left) { allowed_ = left; }

  private:
    [[noreturn]] void runInChild(const std::optional<Fault>& fault, int pipe) {
        const int results = resultsSoFar();
        const Belongings before = Belongings::now();
        {
            // Named here so that a process that was killed leaves nothing in the parent's folder.
            const TempFolder folder;
            ::setenv("TMPDIR", folder.path().c_str(), 1);
            runBody(fault);
        }
        Report report;
        report.happened = FaultInjection::happened();
        report.counts = FaultInjection::counts();
        std::strncpy(report.call, FaultInjection::call(), sizeof report.call - 1);
        const Belongings most{before.descriptors + allowed_.descriptors,
                              before.threads + allowed_.threads, false};
        const Belongings left = settled(most, milliseconds(fault ? 10'000 : 300));
        report.left = {left.descriptors - before.descriptors, left.threads - before.threads,
                       left.hasChildren};
        if (fault) {
            EXPECT_LE(left.descriptors, most.descriptors);
            EXPECT_LE(left.threads, most.threads);
        }
        EXPECT_FALSE(left.hasChildren) << "a child is left";
        report.isComplete = true;
        const bool isReported = ::write(pipe, &report, sizeof report) == sizeof report;
        std::fflush(nullptr);
        ::_exit(isReported && resultsSoFar() == results ? 0 : 1);
    }

    // What leaves the operation leaves the scenario as well, so that its checks are for what
    // returned.
    void runBody(const std::optional<Fault>& fault) const {
        FaultRun run(fault);
        try {
            scenario_.body(run);
        } catch (const platform::Exception& exception) {
            EXPECT_NE(scenario_.throws, Throws::Nothing) << "threw " << exception.reason();
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(scenario_.throws, Throws::AndMemory) << "threw std::bad_alloc";
        } catch (const std::exception& exception) {
            ADD_FAILURE() << "threw " << exception.what();
        }
    }

    static bool waitFor(pid_t child) {
        const Descriptor process(::pidfd_open(child, 0));
        pollfd ended{process.get(), POLLIN, 0};
        int count = 0;
        do count = ::poll(&ended, 1, kWatchdogMilliseconds);
        while (count < 0 && errno == EINTR);
        if (count > 0) return true;
        ::kill(child, SIGKILL);
        return false;
    }

    const FaultScenario& scenario_;
    Belongings allowed_;
};

std::vector<Lasting> lastingsOf(Trouble trouble) {
    // An interrupted call is repeated, without end if it is interrupted each time.
    if (trouble == Trouble::Interrupted) return {Lasting::Once};
    return {Lasting::Once, Lasting::FromThenOn};
}

// Even distances between the points of one trouble.
int strideOf(Trouble trouble, int calls) {
    const int most = trouble == Trouble::NoAllocation ? kMostAllocations : kMostCalls;
    return std::max(1, (calls + most - 1) / most);
}

std::vector<Fault> faultsFor(const CallCounts& counts) {
    std::vector<Fault> faults;
    for (const Trouble trouble : kTroubles) {
        const int calls = counts[static_cast<std::size_t>(trouble)];
        for (const Lasting lasting : lastingsOf(trouble))
            for (int nth = 1; nth <= calls; nth += strideOf(trouble, calls))
                faults.push_back({trouble, lasting, nth});
    }
    return faults;
}

void print(const FaultScenario& scenario, const CallCounts& counts, int injected) {
    std::cout << "[   FAULTS ] " << scenario.name << ": " << injected << " injected";
    for (const Trouble trouble : kTroubles) {
        const int calls = counts[static_cast<std::size_t>(trouble)];
        if (calls == 0) continue;
        std::cout << ", " << calls << " for " << nameOf(trouble);
        if (strideOf(trouble, calls) > 1)
            std::cout << " (each " << strideOf(trouble, calls) << "th)";
    }
    std::cout << std::endl;
}

}  // namespace

void FaultRun::inject(const std::function<void()>& operation) {
    std::exception_ptr thrown;
    {
        const FaultInjection injection(fault_);
        try {
            operation();
        } catch (...) {
            thrown = std::current_exception();
        }
    }
    happened_ = FaultInjection::happened();
    threw_ = thrown != nullptr;
    if (thrown) std::rethrow_exception(thrown);
}

const OptionalString& given(std::string_view text) {
    const NotCounted notCounted;
    static std::deque<OptionalString> kept;
    return kept.emplace_back(text);
}

const OptionalArguments& given(std::initializer_list<std::string_view> texts) {
    const NotCounted notCounted;
    static std::deque<OptionalArguments> kept;
    return kept.emplace_back(StringList(texts.begin(), texts.end()));
}

int failEachCall(const FaultScenario& scenario) {
    Runner runner(scenario);
    const Report clean = runner.run(std::nullopt);
    if (testing::Test::HasFailure()) return 0;
    runner.allow(clean.left);
    int injected = 0;
    int failures = 0;
    const char* const only = std::getenv("KX_FAULT");
    for (const Fault& fault : faultsFor(clean.counts)) {
        if (only != nullptr && describe(fault) != only) continue;
        const int before = resultsSoFar();
        injected += runner.run(fault).happened ? 1 : 0;
        if (resultsSoFar() > before && ++failures == kMostFailures) break;
    }
    print(scenario, clean.counts, injected);
    return injected;
}

}  // namespace quillmoor::test

// A process of the loop does not wait for races that show when it ends: with hundreds of processes
// that would take minutes.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "atexit_sleep_ms=0";
}
