// Measures the log against its peers.
//
//   burst    each thread appends as fast as it can; the caller's median, against formatting and
//            trimming the same message alone
//   paced    each thread appends 8 lines, then sleeps 1 ms; the caller's 99th percentile
//   disk     lines a second until all is written, against one thread that writes the same lines
//            with one write each, rotated by one unlink and four renames each 500,000 bytes, and
//            against spdlog, asynchronous and flushing each line
//
// Usage: bench_log FOLDER [ROUNDS]. Everything is written to a new folder in FOLDER, and removed at
// the end. Before a figure counts, one round is checked: every line is in a file, once.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

#include "bench/support/table.h"
#include "bench/support/work_folder.h"
#include "quillmoor/base/dates.h"
#include "quillmoor/base/strings.h"
#include "quillmoor/log/KXLog.h"
#include "tests/support/forwarding.h"
#ifdef KX_HAVE_SPDLOG
#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace quillmoor::bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kLines = 400'000;
constexpr std::size_t kGenerationBytes = 500'000;

std::string message(int thread, int line) {
    return formatted("worker %d: item %d of %@ was copied in %0.2f ms, nothing to do", thread, line,
                     "library", 0.25);
}

// Counts the lines of the generations that the log removes, so that a round can be checked.
class CountingFiles : public test::ForwardingFileManager {
  public:
    std::atomic<bool> counts{false};
    std::atomic<long> removed{0};
    Outcome removeItem(const std::string& path) override {
        if (counts) removed += linesOf(path);
        return ForwardingFileManager::removeItem(path);
    }
    static long linesOf(const fs::path& path) {
        std::ifstream file(path);
        long lines = 0;
        for (std::string line; std::getline(file, line);)
            if (line.find(" - worker ") != std::string::npos) ++lines;
        return lines;
    }
};

// Root's log would be the machine's; this one is always in the bench's folder.
class OrdinaryUser : public test::ForwardingProcessInfo {
  public:
    unsigned realUserId() override { return 1000; }
};

// Puts the log into the bench's folder.
class OwnLibrary : public test::ForwardingLocations {
  public:
    explicit OwnLibrary(std::string path) : path_(std::move(path)) {}
    StringList searchPaths(platform::SearchPathDirectory, platform::SearchPathDomainMask) override {
        return {path_};
    }

  private:
    std::string path_;
};

void onThreads(int threads, const std::function<void(int)>& body) {
    std::vector<std::thread> all;
    for (int t = 0; t < threads; ++t) all.emplace_back(body, t);
    for (std::thread& thread : all) thread.join();
}

double secondsOf(const std::function<void()>& body) {
    const auto start = Clock::now();
    body();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Nanoseconds of each call of `call` on each thread. Both sides are called in the same way, so the
// costs of std::function and of the clock are in both.
std::vector<double> latencies(int threads, int linesEach, bool paced,
                              const std::function<void(int, int)>& call) {
    std::vector<std::vector<double>> each(static_cast<std::size_t>(threads));
    onThreads(threads, [&](int t) {
        auto& mine = each[static_cast<std::size_t>(t)];
        mine.reserve(static_cast<std::size_t>(linesEach));
        for (int i = 0; i < linesEach; ++i) {
            const auto start = Clock::now();
            call(t, i);
            const auto took = Clock::now() - start;
            mine.push_back(std::chrono::duration<double, std::nano>(took).count());
            if (paced && i % 8 == 7) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    std::vector<double> all;
    for (const auto& mine : each) all.insert(all.end(), mine.begin(), mine.end());
    return all;
}

// Used, so that the compiler cannot leave the work out.
std::atomic<std::size_t> formattedBytes{0};

void formatAndTrim(int thread, int line) {
    const std::string text = message(thread, line);
    formattedBytes.fetch_add(trimWhitespaceAndNewlines(text).size(), std::memory_order_relaxed);
}

// The same text as message(): both sides format the same.
void append(int thread, int line) {
    KXLog::fastAppendLog("worker %d: item %d of %@ was copied in %0.2f ms, nothing to do", thread,
                         line, "library", 0.25);
}

double ourLinesPerSecond(int threads) {
    return kLines / secondsOf([&] {
               onThreads(threads, [&](int t) {
                   for (int i = 0; i < kLines / threads; ++i) append(t, i);
               });
               KXLog::finishWriting();
           });
}

// One thread with one write for each line and the same rotation.
double rawLinesPerSecond(const std::string& folder) {
    fs::create_directories(folder);
    const auto path = [&](int n) { return folder + "/raw." + std::to_string(n) + ".log"; };
    const auto open = [&] {
        return ::open(path(1).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    };
    // Made once: the peer neither formats nor asks for the time.
    std::string line =
        dateDescription(std::chrono::system_clock::now()) + " - " + message(0, 123456);
    line += '\n';
    int file = open();
    std::size_t written = 0;
    const double seconds = secondsOf([&] {
        for (int i = 0; i < kLines; ++i) {
            if (::write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
                throw std::runtime_error("short write");
            written += line.size();
            if (written < kGenerationBytes) continue;
            written = 0;
            ::close(file);
            ::unlink(path(5).c_str());
            for (int n = 4; n >= 1; --n) std::rename(path(n).c_str(), path(n + 1).c_str());
            file = open();
        }
    });
    ::close(file);
    return kLines / seconds;
}

#ifdef KX_HAVE_SPDLOG
double spdlogLinesPerSecond(const std::string& folder, int threads) {
    fs::create_directories(folder);
    // For each round, as shutdown() ends the pool.
    spdlog::init_thread_pool(8192, 1);
    auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(folder + "/spdlog.log",
                                                                       kGenerationBytes, 4);
    auto logger = std::make_shared<spdlog::async_logger>("bench", sink, spdlog::thread_pool(),
                                                         spdlog::async_overflow_policy::block);
    logger->flush_on(spdlog::level::info);
    logger->set_pattern("%Y-%m-%d %H:%M:%S +0000 - %v");
    const double seconds = secondsOf([&] {
        onThreads(threads, [&](int t) {
            for (int i = 0; i < kLines / threads; ++i)
                logger->info("worker {}: item {} of {} was copied in {:.2f} ms, nothing to do", t,
                             i, "library", 0.25);
        });
        logger.reset();
        spdlog::shutdown();  // waits until the queue is empty
    });
    return kLines / seconds;
}
#endif

void checkOneRound(CountingFiles& files, const std::string& logs) {
    files.counts = true;
    files.removed = 0;
    ourLinesPerSecond(4);
    files.counts = false;
    long found = files.removed;
    for (const auto& entry : fs::directory_iterator(logs)) found += CountingFiles::linesOf(entry);
    if (found != kLines)
        throw std::runtime_error(formatted("%li of %i lines are in the files", found, kLines));
}

void benchDisk(const std::string& folder, int rounds) {
    for (const int threads : {1, 2, 4, 8}) {
        std::vector<double> ours, raw, library;
        for (int round = -1; round < rounds; ++round) {
            const double rawNow = rawLinesPerSecond(folder + "/raw");
            const double oursNow = ourLinesPerSecond(threads);
            double libraryNow = 0;
#ifdef KX_HAVE_SPDLOG
            libraryNow = spdlogLinesPerSecond(folder + "/spdlog", threads);
#endif
            if (round < 0) continue;
            raw.push_back(rawNow);
            ours.push_back(oursNow);
            library.push_back(libraryNow);
        }
        const std::string name = std::to_string(threads) + " thr";
        printRow("log to disk, " + name + ", vs one raw writer", ours, raw, "lines/s",
                 threads == 8 ? 0.65 : 0.70, Better::Higher);
        if (library.front() > 0)
            printRow("log to disk, " + name + ", vs spdlog flushing", ours, library, "lines/s", 2.5,
                     Better::Higher,
                     formatted("the raw writer alone reaches %.2f", medianRatio(raw, library)));
    }
}

void benchCaller(int rounds) {
    for (const bool paced : {false, true}) {
        for (const int threads : {1, 2, 4, 8}) {
            std::vector<double> ours, alone;
            const int lines = paced ? 2400 : 100'000 / threads;
            for (int round = -1; round < rounds; ++round) {
                const auto a = latencies(threads, lines, paced, formatAndTrim);
                const auto b = latencies(threads, lines, paced, append);
                KXLog::finishWriting();
                if (round < 0) continue;
                alone.push_back(paced ? quantile(a, 0.99) : median(a));
                ours.push_back(paced ? quantile(b, 0.99) : median(b));
            }
            const std::string name = std::to_string(threads) + " thr";
            printRow((paced ? "log caller p99, paced, " : "log caller median, burst, ") + name,
                     ours, alone, "ns", paced ? 1.5 : 1.25, Better::Lower);
        }
    }
}

int run(const std::string& place, int rounds) {
    const WorkFolder work(place);
    const std::string& folder = work.path();
    test::ScopedPlatform platform;
    OrdinaryUser user;
    OwnLibrary library(folder + "/Library");
    platform->locations = &library;
    CountingFiles files;
    platform->processInfo = &user;
    platform->fileManager = &files;
    KXLog::createNewLog();
    checkOneRound(files, folder + "/Library/Logs/Quillmoor");
    benchCaller(rounds);
    benchDisk(folder, rounds);
    KXLog::finishWriting();
    return 0;
}

}  // namespace
}  // namespace quillmoor::bench

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_log FOLDER [ROUNDS]\n");
        return 2;
    }
    try {
        return quillmoor::bench::run(argv[1], argc > 2 ? std::atoi(argv[2]) : 7);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "bench_log: %s\n", failure.what());
        return 1;
    }
}
