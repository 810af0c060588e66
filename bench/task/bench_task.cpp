// bench_task [ROUNDS [starts|capture]]: measures starting tools and capturing their output, each
// against the fewest possible system calls. Both sides run in turn, so that conditions are the same
// for both.
//
// Rows have the medians of the rounds. Those called "fastest" compare the fastest run of each
// round, which a busy machine disturbs less. "from 1 GiB": the parent has that much memory in use.
//
// Every run is checked: the tool's success, and the size and a hash of what was captured.
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/support/table.h"
#include "bench/task/bare_writer.h"
#include "bench/task/blocks.h"
#include "quillmoor/task/KXTaskEx.h"

extern char** environ;

namespace quillmoor::bench {
namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

constexpr char kTool[] = "/bin/true";
constexpr std::size_t kCaptured = std::size_t{1} << 30;
constexpr int kStartsInRound = 300;
constexpr int kWarmUpRounds = 2;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "bench_task: %s\n", what);
    std::exit(1);
}

double microseconds(const std::function<void()>& work) {
    const auto start = steady_clock::now();
    work();
    return duration<double, std::micro>(steady_clock::now() - start).count();
}

using Times = std::vector<double>;
using Work = std::function<void(Times&)>;

// The results of one side of a comparison, by round.
struct Side {
    Times medians;
    Times fastest;

    void add(const Times& round) {
        medians.push_back(median(round));
        fastest.push_back(*std::min_element(round.begin(), round.end()));
    }
};

// Runs both in turn and prints the rows.
void compare(const std::string& name, double target, int rounds, int timesInRound, const Work& ours,
             const Work& peer) {
    Side our;
    Side its;
    for (int round = -kWarmUpRounds; round < rounds; ++round) {
        Times ourTimes;
        Times itsTimes;
        for (int i = 0; i < timesInRound; ++i) {
            // The sides take turns in being first.
            const bool first = (i + round) % 2 == 0;
            if (first) ours(ourTimes);
            peer(itsTimes);
            if (!first) ours(ourTimes);
        }
        if (round < 0) continue;
        our.add(ourTimes);
        its.add(itsTimes);
    }
    printRow(name, our.medians, its.medians, "us", target, Better::Lower);
    if (timesInRound == 1) return;
    printRow(name + ", fastest", our.fastest, its.fastest, "us", target, Better::Lower);
}

// Starting and waiting ---------------------------------------------------------------------------

void runTask(Times& times) {
    times.push_back(microseconds([] {
        if (!KXTaskEx::runTask(kTool, std::nullopt)) fail("the tool was not run");
    }));
}

void spawnAndWait(Times& times) {
    times.push_back(microseconds([] {
        char name[] = "/bin/true";
        char* arguments[] = {name, nullptr};
        pid_t pid = -1;
        int status = -1;
        if (::posix_spawn(&pid, kTool, nullptr, nullptr, arguments, environ) != 0 ||
            ::waitpid(pid, &status, 0) != pid || status != 0)
            fail("posix_spawn");
    }));
}

void compareStarts(const std::string& name, double target, int rounds) {
    compare(name, target, rounds, kStartsInRound, runTask, spawnAndWait);
}

// Memory that this process uses as long as the object lives.
class MemoryInUse {
  public:
    explicit MemoryInUse(std::size_t size, bool largePages)
        : size_(size),
          bytes_(static_cast<char*>(
              ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (bytes_ == MAP_FAILED) fail("no memory");
        if (largePages) ::madvise(bytes_, size_, MADV_HUGEPAGE);
        // Written to, or the system would not provide it.
        std::memset(bytes_, 1, size_);
    }
    ~MemoryInUse() { ::munmap(bytes_, size_); }
    MemoryInUse(const MemoryInUse&) = delete;
    MemoryInUse& operator=(const MemoryInUse&) = delete;

    char* bytes() const { return bytes_; }
    std::size_t size() const { return size_; }

  private:
    std::size_t size_;
    char* bytes_;
};

void compareAllStarts(int rounds) {
    compareStarts("start and wait", 1.08, rounds);
    std::thread([rounds] { compareStarts("start and wait, on a thread", 1.08, rounds); }).join();
    const MemoryInUse memory(std::size_t{1} << 30, false);
    compareStarts("start and wait, from 1 GiB", 1.10, rounds);
}

// Capturing --------------------------------------------------------------------------------------

// In the manner of FNV-1a, but over words instead of bytes: quick enough to check every capture.
std::uint64_t hashOf(std::string_view bytes) {
    std::uint64_t hash = bytes.size();
    for (std::size_t i = 0; i + sizeof(std::uint64_t) <= bytes.size(); i += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + i, sizeof word);
        hash = (hash ^ word) * 0x100000001b3U;
    }
    return hash;
}

// The hash of what the tool writes, without keeping it.
std::uint64_t expectedHash() {
    auto block = std::make_unique<Block>();
    fillBlock(*block);
    std::uint64_t hash = kCaptured;
    for (std::uint64_t number = 0; number < kCaptured / kBlockSize; ++number) {
        numberBlock(*block, number);
        for (const std::uint64_t word : *block) hash = (hash ^ word) * 0x100000001b3U;
    }
    return hash;
}

void check(std::string_view captured, std::uint64_t hash) {
    if (captured.size() != kCaptured || hashOf(captured) != hash) fail("captured something else");
}

std::string blockCount() {
    return std::to_string(kCaptured / kBlockSize);
}

// The host of a virtual machine may reclaim unused memory, and the next process that touches it
// waits for the host. Memory that was used a moment ago is not reclaimed yet.
void haveFreeMemoryReady() {
    const MemoryInUse used(kCaptured + kCaptured / 4, true);
}

void captureOurs(Times& times, std::uint64_t hash) {
    haveFreeMemoryReady();
    std::optional<Data> data;
    times.push_back(microseconds([&] {
        data = KXTaskEx::dataFromTask(KX_WRITE_BLOCKS, StringList{blockCount()}, nullptr);
    }));
    if (!data) fail("nothing captured");
    check(data->view(), hash);
}

std::size_t readAll(int file, char* bytes, std::size_t room) {
    std::size_t size = 0;
    while (size < room) {
        const ssize_t count = ::read(file, bytes + size, room - size);
        if (count < 0) fail("read");
        if (count == 0) break;
        size += static_cast<std::size_t>(count);
    }
    return size;
}

void captureIntoReadyMemory(Times& times, const MemoryInUse& memory, std::uint64_t hash) {
    std::size_t size = 0;
    times.push_back(microseconds([&] {
        const BareWriter writer(KX_WRITE_BLOCKS, kCaptured);
        size = readAll(writer.output(), memory.bytes(), memory.size());
    }));
    check({memory.bytes(), size}, hash);
}

void compareCapture(int rounds) {
    const std::uint64_t hash = expectedHash();
    const MemoryInUse memory(kCaptured, true);
    compare(
        "capture 1 GiB", 1.5, rounds, 1, [&](Times& times) { captureOurs(times, hash); },
        [&](Times& times) { captureIntoReadyMemory(times, memory, hash); });
}

}  // namespace
}  // namespace quillmoor::bench

int main(int argc, char** argv) {
    using namespace quillmoor::bench;
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
    const std::string_view part = argc > 2 ? argv[2] : "";
    if (part != "capture") compareAllStarts(rounds);
    if (part != "starts") compareCapture(rounds);
    return 0;
}
