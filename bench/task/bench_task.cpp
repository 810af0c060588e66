// bench_task [ROUNDS]: starting tools and capturing their output, each beside the least that the
// system asks for. Both sides run in turn, once each, so that they meet the same machine.
//
//   work    ours against peer; "from 1 GiB": the parent has that much memory in use
//   median  of all runs, in microseconds; min is the fastest run
//   ratio   our median over the peer's, and our minimum over the peer's
//
// Every run is checked: the tool's success, and the size and a hash of what was captured.
#include <fcntl.h>
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

#include "bench/task/blocks.h"
#include "task/KXTaskEx.h"

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

struct Times {
    std::vector<double> all;
    double median() {
        std::sort(all.begin(), all.end());
        return all[all.size() / 2];
    }
    double minimum() const { return *std::min_element(all.begin(), all.end()); }
};

void printHead() {
    std::printf("%-34s | %11s %11s | %11s %11s | %6s %6s | %6s | %s\n", "work", "ours median",
                "min", "peer median", "min", "ratio", "of min", "target", "met");
}

// Runs both in turn and prints the row.
void compare(const char* name, double target, int rounds, int timesInRound,
             const std::function<void(Times&)>& ours, const std::function<void(Times&)>& peer) {
    Times our;
    Times its;
    for (int round = -kWarmUpRounds; round < rounds; ++round) {
        if (round == 0) {
            our.all.clear();
            its.all.clear();
        }
        for (int i = 0; i < timesInRound; ++i) {
            // Who comes first changes, too.
            if ((i + round) % 2 == 0) ours(our);
            peer(its);
            if ((i + round) % 2 != 0) ours(our);
        }
    }
    const double ratio = our.median() / its.median();
    std::printf("%-34s | %11.1f %11.1f | %11.1f %11.1f | %6.3f %6.3f | %6.2f | %s\n", name,
                our.median(), our.minimum(), its.median(), its.minimum(), ratio,
                our.minimum() / its.minimum(), target, ratio <= target ? "yes" : "NO");
    std::fflush(stdout);
}

// Starting and waiting ---------------------------------------------------------------------------

void runTask(Times& times) {
    times.all.push_back(microseconds([] {
        if (!KXTaskEx::runTask(kTool, std::nullopt)) fail("the tool was not run");
    }));
}

void spawnAndWait(Times& times) {
    times.all.push_back(microseconds([] {
        char name[] = "/bin/true";
        char* arguments[] = {name, nullptr};
        pid_t pid = -1;
        int status = -1;
        if (::posix_spawn(&pid, kTool, nullptr, nullptr, arguments, environ) != 0 ||
            ::waitpid(pid, &status, 0) != pid || status != 0)
            fail("posix_spawn");
    }));
}

void compareStarts(const char* name, double target, int rounds) {
    compare(name, target, rounds, kStartsInRound, runTask, spawnAndWait);
}

// Memory in use by this process for as long as it lives.
class MemoryInUse {
  public:
    explicit MemoryInUse(std::size_t size, bool largePages)
        : size_(size),
          bytes_(static_cast<char*>(
              ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (bytes_ == MAP_FAILED) fail("no memory");
        if (largePages) ::madvise(bytes_, size_, MADV_HUGEPAGE);
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

// Capturing --------------------------------------------------------------------------------------

std::uint64_t hashOf(std::string_view bytes) {
    std::uint64_t hash = bytes.size();
    for (std::size_t i = 0; i + sizeof(std::uint64_t) <= bytes.size(); i += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + i, sizeof word);
        hash = (hash ^ word) * 0x100000001b3U;
    }
    return hash;
}

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

void captureOurs(Times& times, std::uint64_t hash) {
    std::optional<Data> data;
    times.all.push_back(microseconds([&] {
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
    times.all.push_back(microseconds([&] {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) fail("pipe2");
        ::fcntl(ends[0], F_SETPIPE_SZ, 1 << 20);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        char name[] = KX_WRITE_BLOCKS;
        std::string count = blockCount();
        char* arguments[] = {name, count.data(), nullptr};
        pid_t pid = -1;
        if (::posix_spawn(&pid, name, &actions, nullptr, arguments, environ) != 0) fail("spawn");
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        size = readAll(ends[0], memory.bytes(), memory.size());
        ::close(ends[0]);
        int status = -1;
        ::waitpid(pid, &status, 0);
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
    printHead();
    compareStarts("start and wait", 1.08, rounds);
    std::thread([rounds] { compareStarts("start and wait, on a thread", 1.08, rounds); }).join();
    {
        const MemoryInUse memory(std::size_t{1} << 30, false);
        compareStarts("start and wait, from 1 GiB", 1.10, rounds);
    }
    compareCapture(rounds);
    return 0;
}
